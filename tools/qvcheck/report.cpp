#include "tools/qvcheck/report.h"

#include <algorithm>
#include <iterator>

namespace qv::check {

namespace {

constexpr std::string_view kSeverities[] = {"note", "warning", "error"};
constexpr std::string_view kVerdicts[] = {"ok", "faulty", "unrecognised", "not_judged"};
constexpr std::string_view kWords[] = {
    "",      "to_accessory", "to_controller", "request",    "response", "event", "unknown",
    "entry", "packet",       "line",          "start_line", "header",   "body",
};

// The value whose name stands at its place in the list.
template <class Enum, std::size_t count>
std::optional<Enum> valueNamed(const std::string_view (&names)[count], std::string_view name) {
  const auto* found = std::ranges::find(names, name);
  if (found == std::end(names)) return std::nullopt;
  return static_cast<Enum>(found - std::begin(names));
}

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

bool holds(const std::vector<ExitCode>& outcomes, ExitCode code) {
  return std::ranges::find(outcomes, code) != outcomes.end();
}

void noteIn(std::vector<ExitCode>& outcomes, ExitCode code) {
  if (!holds(outcomes, code)) outcomes.push_back(code);
}

// Puts the outcomes in their order, and decides the exit code by them.
void close(Summary& account, bool judging, int signal) {
  // That nothing is judged with a refused profile goes without saying.
  const bool refused = holds(account.outcomes, ExitCode::profileRefused);
  if (judging && !refused && account.judged == 0) {
    noteIn(account.outcomes, ExitCode::nothingJudged);
  }
  std::vector<ExitCode> ordered;
  for (const Outcome& outcome : kOutcomes) {
    if (holds(account.outcomes, outcome.code)) ordered.push_back(outcome.code);
  }
  if (ordered.empty()) ordered.push_back(ExitCode::clean);
  account.outcomes = std::move(ordered);
  account.exit = signal != 0 ? 128 + signal : static_cast<int>(account.outcomes.front());
}

}  // namespace

std::string_view nameOf(Severity severity) {
  return kSeverities[static_cast<std::size_t>(severity)];
}

std::optional<Severity> severityNamed(std::string_view name) {
  return valueNamed<Severity>(kSeverities, name);
}

std::string_view nameOf(Verdict verdict) {
  return kVerdicts[static_cast<std::size_t>(verdict)];
}

std::optional<Verdict> verdictNamed(std::string_view name) {
  return valueNamed<Verdict>(kVerdicts, name);
}

std::optional<std::string_view> wordOfRecords(std::string_view word) {
  const auto* found = std::ranges::find(kWords, word);
  if (found == std::end(kWords)) return std::nullopt;
  return *found;
}

std::string_view meaningOf(ExitCode code) {
  const auto* row = std::find_if(std::begin(kOutcomes), std::end(kOutcomes),
                                 [&](const Outcome& outcome) { return outcome.code == code; });
  return row->meaning;
}

std::optional<ExitCode> exitCodeOf(int number) {
  for (const Outcome& outcome : kOutcomes) {
    if (static_cast<int>(outcome.code) == number) return outcome.code;
  }
  return std::nullopt;
}

void SummaryTotal::add(const Summary& summary) {
  total_.messages += summary.messages;
  total_.judged += summary.judged;
  total_.faulty += summary.faulty;
  for (const auto& [reason, count] : summary.notJudged) total_.notJudged[reason] += count;
  for (const auto& [rule, count] : summary.findings) total_.findings[rule] += count;
  total_.leftOut += summary.leftOut;
  total_.mostFindings = std::max(total_.mostFindings, summary.mostFindings);
  total_.ignored += summary.ignored;
  total_.stoppedEarly = total_.stoppedEarly || summary.stoppedEarly;
  total_.complete = total_.complete && summary.complete;
  for (const ExitCode code : summary.outcomes) noteIn(total_.outcomes, code);
  if (runSignal_ == 0 && summary.exit > 128) runSignal_ = summary.exit - 128;
  // What decided one run decided no other.
  total_.verdict = ++runs_ == 1 ? summary.verdict : "";
}

void SummaryTotal::noteLoss(bool damaged) {
  if (damaged) noteIn(total_.outcomes, ExitCode::inputDamaged);
  total_.complete = false;
}

Summary SummaryTotal::closed(int signal) const {
  Summary summary = total_;
  // These hold for the whole, not for one run of it.
  std::erase(summary.outcomes, ExitCode::clean);
  std::erase(summary.outcomes, ExitCode::nothingJudged);
  close(summary, judging_, signal != 0 ? signal : runSignal_);
  return summary;
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
  return holds(account_.outcomes, code);
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
  noteIn(account_.outcomes, code);
}

int Report::finish(bool judging, int signal) {
  account_.mostFindings = limits_.mostFindings;
  close(account_, judging, signal);
  summary(account_);
  return account_.exit;
}

}  // namespace qv::check
