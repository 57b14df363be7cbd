#include "tools/qvcheck/traffic_command.h"

#include <filesystem>
#include <optional>
#include <string>

#include "tools/qvcheck/capture_check.h"
#include "tools/qvcheck/capture_input.h"
#include "tools/qvcheck/input_findings.h"
#include "tools/qvcheck/input_workers.h"
#include "tools/qvcheck/output_files.h"
#include "tools/qvcheck/profile_loading.h"
#include "tools/qvcheck/progress.h"
#include "tools/qvcheck/signal_watch.h"

namespace qv::check {

namespace {

void reportFailure(const InputRecord& input, Report& report) {
  Finding finding = findingForFailure(input);
  finding.finding = report.nextFinding();
  report.finding(finding);
}

void closeInput(const TrafficOptions& options, CaptureInput& input, Report& report,
                std::ostream& err) {
  for (const auto& record : input.close(err)) {
    if (record->failure && options.report.judges()) reportFailure(*record, report);
    report.input(*record);
  }
}

// For an input that nobody finished.
void reportLoss(const CaptureInput& input, const std::string& text, Report& report) {
  for (InputRecord record : input.unread()) {
    record.failure = text;
    record.lost = {text};
    reportFailure(record, report);
    report.input(record);
  }
}

// False when the run is to stop behind it. A worker has no outputs.
bool readInput(const TrafficOptions& options, CaptureInput& input, Report& report,
               OutputFiles* outputs, Progress* progress, std::ostream& err) {
  if (progress != nullptr) input.onRead([progress](std::size_t bytes) { progress->read(bytes); });
  if (outputs != nullptr) input.beforeWaiting([outputs] { outputs->flush(); });
  if (!input.open(options, err)) {
    report.noteOutcome(ExitCode::inputDamaged);
    report.noteIncomplete();
    closeInput(options, input, report, err);
    return SignalWatch::signal() == 0;
  }
  std::optional<CaptureCheck> check;
  if (options.report.judges()) check.emplace(report, input);
  bool goesOn = true;
  while (goesOn) {
    const auto event = SignalWatch::signal() == 0 ? input.next() : std::nullopt;
    // What a signal cut off is no fact about the input.
    if (!event || SignalWatch::signal() != 0) break;
    noteLosses(*event, input);
    if (outputs != nullptr) outputs->take(*event);
    if (check) check->take(*event);
    goesOn = !options.failFast || !report.hasOutcome(ExitCode::findings);
  }
  const bool interrupted = SignalWatch::signal() != 0;
  if (goesOn && !interrupted && check) check->finish();
  if (!goesOn) report.noteStoppedEarly();
  if (interrupted) report.noteIncomplete();
  if (outputs != nullptr) outputs->endInput(input, !goesOn || interrupted);
  if (progress != nullptr) progress->clear();
  closeInput(options, input, report, err);
  return goesOn && !interrupted;
}

// Of all files together; null where one is no regular file.
std::optional<std::uint64_t> sizeOf(const std::vector<std::string>& files) {
  std::uint64_t size = 0;
  for (const std::string& file : files) {
    std::error_code unknown;
    const auto one = std::filesystem::file_size(file, unknown);
    if (unknown) return std::nullopt;
    size += one;
  }
  return size;
}

void readInputs(const TrafficOptions& options, Report& report, OutputFiles& outputs,
                Progress* progress, std::ostream& err) {
  const auto inputs = CaptureInput::all(options);
  std::size_t number = 1;
  for (const auto& input : inputs) number += input->number(number);
  if (options.jobs > 1 && inputs.size() > 1) {
    const WorkerTask task = {inputs.size(),
                             options.limits.rules,
                             options.report.failOn,
                             [&](std::size_t index, Report& part, std::ostream& complaints) {
                               return readInput(options, *inputs[index], part, nullptr, nullptr,
                                                complaints);
                             },
                             [&](std::size_t index) { return inputs[index]->name(); },
                             [&](std::size_t index, const std::string& text, Report& whole) {
                               reportLoss(*inputs[index], text, whole);
                             },
                             [&](std::size_t index) {
                               const auto size = sizeOf({inputs[index]->name()});
                               if (progress != nullptr) progress->read(size.value_or(0));
                             }};
    runInWorkers(task, options.jobs, report, err);
    return;
  }
  for (const auto& input : inputs) {
    if (!readInput(options, *input, report, &outputs, progress, err)) return;
  }
}

RunRecord runRecord(const TrafficOptions& options) {
  RunRecord run;
  run.command = "traffic";
  for (const std::string& profile : options.profiles) run.options.emplace_back("profile", profile);
  if (!options.requestFile.empty()) run.options.emplace_back("request", options.requestFile);
  if (!options.responseFile.empty()) run.options.emplace_back("response", options.responseFile);
  for (const std::string& input : options.inputs) run.options.emplace_back("input", input);
  if (options.form != capture::CaptureForm::automatic) {
    run.options.emplace_back("input-format", std::string(nameOf(options.form)));
  }
  if (options.port) run.options.emplace_back("port", std::to_string(*options.port));
  run.options.emplace_back("max-message-size", std::to_string(options.maxMessageSize));
  run.options.emplace_back(
      "fail-on", options.report.failOn ? std::string(nameOf(*options.report.failOn)) : "never");
  for (const std::string& rule : options.limits.rules.select) {
    run.options.emplace_back("select", rule);
  }
  for (const std::string& rule : options.limits.rules.ignore) {
    run.options.emplace_back("ignore", rule);
  }
  run.options.emplace_back("max-findings", std::to_string(options.limits.mostFindings));
  if (options.failFast) run.options.emplace_back("fail-fast", "true");
  return run;
}

}  // namespace

int runTraffic(const TrafficOptions& options, std::ostream& out, std::ostream& err,
               bool outIsTerminal, bool errIsTerminal) {
  const bool judges = options.report.judges();
  std::optional<Progress> progress;
  if (errIsTerminal && !options.report.quiet && (options.progress || !outIsTerminal)) {
    progress.emplace(err, sizeOf(options.files()));
  }
  Progress* const shown = progress ? &*progress : nullptr;
  return writeReport(
      options.report, out, err, outIsTerminal, judges,
      [&](Report& report, OutputFiles& outputs) {
        const SignalWatch watch;
        report.setLimits(options.limits);
        report.run(runRecord(options));
        if (loadProfiles(options.profiles, report, err)) {
          readInputs(options, report, outputs, shown, err);
        }
        return report.finish(judges, SignalWatch::signal());
      },
      shown);
}

}  // namespace qv::check
