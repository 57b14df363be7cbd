#include "tools/qvcheck/traffic_command.h"

#include <memory>
#include <string>
#include <utility>

#include "tools/qvcheck/capture_check.h"
#include "tools/qvcheck/capture_input.h"
#include "tools/qvcheck/input_workers.h"
#include "tools/qvcheck/output_files.h"
#include "tools/qvcheck/profile_loading.h"
#include "tools/qvcheck/signal_watch.h"

namespace qv::check {

namespace {

// False when the run is to stop behind it.
bool checkInput(const TrafficOptions& options, CaptureInput& input, Report& report,
                std::ostream& err) {
  if (!input.open(options, err)) {
    report.noteOutcome(ExitCode::inputDamaged);
    report.noteIncomplete();
    return true;
  }
  CaptureCheck check(report, input);
  bool goesOn = true;
  while (goesOn) {
    const auto event = SignalWatch::signal() == 0 ? input.reader().next() : std::nullopt;
    if (!event) break;
    check.take(*event);
    goesOn = !options.failFast || !report.hasOutcome(ExitCode::findings);
  }
  const bool interrupted = SignalWatch::signal() != 0;
  if (goesOn && !interrupted) check.finish();
  if (!goesOn) report.noteStoppedEarly();
  if (interrupted) report.noteIncomplete();
  for (const auto& record : input.close(err)) report.input(*record);
  return goesOn && !interrupted;
}

void checkInputs(const TrafficOptions& options, Report& report, std::ostream& err) {
  const auto inputs = CaptureInput::all(options);
  std::size_t number = 1;
  for (const auto& input : inputs) number += input->number(number);
  if (options.jobs > 1 && inputs.size() > 1) {
    const WorkerTask task = {inputs.size(), options.limits.rules, options.report.failOn,
                             [&](std::size_t index, Report& part, std::ostream& complaints) {
                               return checkInput(options, *inputs[index], part, complaints);
                             },
                             [&](std::size_t index) { return inputs[index]->name(); }};
    runInWorkers(task, options.jobs, report, err);
    return;
  }
  for (const auto& input : inputs) {
    if (!checkInput(options, *input, report, err)) return;
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
               bool outIsTerminal) {
  return writeReport(options.report, out, err, outIsTerminal, true, [&](Report& report) {
    const SignalWatch watch;
    report.setLimits(options.limits);
    report.run(runRecord(options));
    if (loadProfiles(options.profiles, report, err)) checkInputs(options, report, err);
    return report.finish(true, SignalWatch::signal());
  });
}

}  // namespace qv::check
