#include "tools/qvcheck/report.h"

#include <algorithm>

namespace qv::check {

namespace {

struct Outcome {
  ExitCode code;
  std::string_view meaning;
};

// In order of precedence.
constexpr Outcome kOutcomes[] = {
    {ExitCode::toolFault, "fault of the tool itself"},
    {ExitCode::usage, "wrong usage"},
    {ExitCode::profileRefused, "profile refused"},
    {ExitCode::inputDamaged, "input unreadable, damaged or incomplete"},
    {ExitCode::findings, "findings"},
    {ExitCode::nothingJudged, "nothing was judged"},
    {ExitCode::clean, "nothing at or above --fail-on"},
};

}  // namespace

std::string_view nameOf(Severity severity) {
  constexpr std::string_view kNames[] = {"note", "warning", "error"};
  return kNames[static_cast<std::size_t>(severity)];
}

std::string_view nameOf(Verdict verdict) {
  constexpr std::string_view kNames[] = {"ok", "faulty", "unrecognised", "not_judged"};
  return kNames[static_cast<std::size_t>(verdict)];
}

std::string_view meaningOf(ExitCode code) {
  const auto* row = std::find_if(std::begin(kOutcomes), std::end(kOutcomes),
                                 [&](const Outcome& outcome) { return outcome.code == code; });
  return row->meaning;
}

void Report::run(const RunRecord& record) {
  for (ReportSink* sink : sinks_) sink->run(record);
}

void Report::profile(const ProfileRecord& record) {
  if (!record.accepted) noteOutcome(ExitCode::profileRefused);
  for (ReportSink* sink : sinks_) sink->profile(record);
}

void Report::input(const InputRecord& record) {
  if (!record.complete || record.fidelity == "damaged") {
    noteOutcome(ExitCode::inputDamaged);
    noteIncomplete();
  }
  for (ReportSink* sink : sinks_) sink->input(record);
}

void Report::connection(const ConnectionRecord& record) {
  ++connections_;
  for (ReportSink* sink : sinks_) sink->connection(record);
}

void Report::message(const MessageRecord& record) {
  ++account_.messages;
  switch (record.verdict) {
    case Verdict::faulty:
      ++account_.faulty;
      [[fallthrough]];
    case Verdict::ok:
      ++account_.judged;
      break;
    case Verdict::unrecognised:
      ++account_.notJudged["unrecognised"];
      break;
    case Verdict::notJudged:
      ++account_.notJudged[record.reason];
      break;
  }
  for (ReportSink* sink : sinks_) sink->message(record);
}

void Report::finding(const Finding& record) {
  // Why a profile was refused is always told.
  if (record.location.input && !keeps(record.rule)) {
    ++account_.ignored;
    return;
  }
  ++findings_;
  ++account_.findings[record.rule];
  if (failOn_ && record.severity >= *failOn_) noteOutcome(ExitCode::findings);
  if (findings_ > limits_.mostFindings) {
    ++account_.leftOut;
    return;
  }
  for (ReportSink* sink : sinks_) sink->finding(record);
}

void Report::gap(const GapRecord& record) {
  for (ReportSink* sink : sinks_) sink->gap(record);
}

void Report::summary(const Summary& record) {
  for (ReportSink* sink : sinks_) sink->summary(record);
}

bool Report::hasOutcome(ExitCode code) const {
  return std::ranges::find(account_.outcomes, code) != account_.outcomes.end();
}

void Report::add(const Summary& account) {
  for (const ExitCode code : account.outcomes) noteOutcome(code);
  account_.ignored += account.ignored;
  account_.stoppedEarly = account_.stoppedEarly || account.stoppedEarly;
  account_.complete = account_.complete && account.complete;
}

void Report::noteStoppedEarly() {
  account_.stoppedEarly = true;
  noteIncomplete();
}

void Report::noteOutcome(ExitCode code) {
  if (!hasOutcome(code)) account_.outcomes.push_back(code);
}

int Report::finish(bool judging, int signal) {
  // That nothing is judged with a refused profile goes without saying.
  const bool refused = hasOutcome(ExitCode::profileRefused);
  if (judging && !refused && account_.judged == 0) noteOutcome(ExitCode::nothingJudged);
  std::vector<ExitCode> ordered;
  for (const Outcome& outcome : kOutcomes) {
    const auto& noted = account_.outcomes;
    if (std::find(noted.begin(), noted.end(), outcome.code) != noted.end()) {
      ordered.push_back(outcome.code);
    }
  }
  if (ordered.empty()) ordered.push_back(ExitCode::clean);
  account_.outcomes = std::move(ordered);
  account_.mostFindings = limits_.mostFindings;
  account_.exit = signal != 0 ? 128 + signal : static_cast<int>(account_.outcomes.front());
  summary(account_);
  return account_.exit;
}

}  // namespace qv::check
