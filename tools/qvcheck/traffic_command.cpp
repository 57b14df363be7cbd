#include "tools/qvcheck/traffic_command.h"

#include <algorithm>
#include <csignal>
#include <memory>
#include <string>
#include <utility>

#include "capture/byte_source.h"
#include "capture/stream_pair_reader.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/message_checker.h"
#include "tools/qvcheck/output_files.h"
#include "tools/qvcheck/profile_loading.h"

namespace qv::check {

namespace {

using capture::ByteStreamItems;
using capture::Direction;

volatile std::sig_atomic_t endingSignal = 0;

void noteSignal(int signal) {
  endingSignal = signal;
}

// Lets a run that is interrupted close its report, as long as it lives.
class SignalWatch {
 public:
  SignalWatch() {
    endingSignal = 0;
    struct sigaction action {};
    action.sa_handler = noteSignal;
    for (std::size_t i = 0; i < kCount; ++i) sigaction(kSignals[i], &action, &before_[i]);
  }
  ~SignalWatch() {
    for (std::size_t i = 0; i < kCount; ++i) sigaction(kSignals[i], &before_[i], nullptr);
  }
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

 private:
  static constexpr int kSignals[] = {SIGINT, SIGTERM};
  static constexpr std::size_t kCount = 2;
  struct sigaction before_[kCount] {};
};

InputRecord inputRecord(std::size_t number, const std::string& name) {
  InputRecord record;
  record.input = number;
  record.name = name;
  record.format = "http";
  record.fidelity = "exact";
  return record;
}

// Passes a source on and keeps how it begins.
class HeadKeeper : public capture::ByteSource {
 public:
  HeadKeeper(std::shared_ptr<capture::ByteSource> source, Bytes& head)
      : source_(std::move(source)), head_(head) {}

  std::size_t read(std::span<std::uint8_t> destination) override {
    constexpr std::size_t kMost = 32;
    const std::size_t count = source_->read(destination);
    const auto kept = destination.first(std::min(count, kMost - std::min(kMost, head_.size())));
    head_.insert(head_.end(), kept.begin(), kept.end());
    return count;
  }
  std::optional<std::string> error() const override { return source_->error(); }

 private:
  std::shared_ptr<capture::ByteSource> source_;
  Bytes& head_;
};

// The stream, or null with a complaint. The record has to outlive it.
std::shared_ptr<ByteStreamItems> openStream(InputRecord& record, Direction direction,
                                            const TrafficOptions& options, Report& report,
                                            std::ostream& err) {
  std::optional<std::string> error;
  auto source = capture::FileSource::open(record.name, &error);
  if (source == nullptr) {
    err << "qvcheck: " << escaped(record.name) << ": " << textOrNull(error) << '\n';
    report.noteOutcome(ExitCode::inputDamaged);
    report.noteIncomplete();
    return nullptr;
  }
  return std::make_shared<ByteStreamItems>(
      std::make_shared<HeadKeeper>(std::move(source), record.head), direction,
      capture::FramingLimits{options.maxMessageSize});
}

void closeInput(const ByteStreamItems& stream, InputRecord& record, Report& report,
                std::ostream& err) {
  record.bytes = stream.bytesRead();
  if (const auto error = stream.source().error()) {
    err << "qvcheck: " << escaped(record.name) << ": " << *error << '\n';
    record.complete = false;
  }
  report.input(record);
}

void checkConnection(const TrafficOptions& options, Report& report, std::ostream& err) {
  InputRecord requestInput = inputRecord(1, options.requestFile);
  InputRecord responseInput = inputRecord(2, options.responseFile);
  const auto requests = openStream(requestInput, Direction::toAccessory, options, report, err);
  const auto responses = openStream(responseInput, Direction::toController, options, report, err);
  if (requests == nullptr || responses == nullptr) return;
  report.connection({1, 1});
  MessageChecker checker(report, 1, requestInput, responseInput);
  capture::StreamPairReader pairing(requests, responses);
  while (endingSignal == 0) {
    const auto record = pairing.nextRecord();
    if (!record) {
      if (!responses->source().error()) checker.finish();
      break;
    }
    checker.check(*record);
    if (options.failFast && report.hasOutcome(ExitCode::findings)) {
      report.noteStoppedEarly();
      break;
    }
  }
  if (endingSignal != 0) report.noteIncomplete();
  closeInput(*requests, requestInput, report, err);
  closeInput(*responses, responseInput, report, err);
}

RunRecord runRecord(const TrafficOptions& options) {
  RunRecord run;
  run.command = "traffic";
  for (const std::string& profile : options.profiles) run.options.emplace_back("profile", profile);
  run.options.emplace_back("request", options.requestFile);
  run.options.emplace_back("response", options.responseFile);
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
    if (loadProfiles(options.profiles, report, err)) checkConnection(options, report, err);
    return report.finish(true, endingSignal);
  });
}

}  // namespace qv::check
