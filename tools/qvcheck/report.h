#pragma once

// What a run of the tool has to say, independent of how it is written: one list of records that
// every output form renders, so that they agree with each other and with the exit code.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/bytes.h"
#include "tools/qvcheck/rule_selection.h"

namespace qv::check {

enum class Severity : std::uint8_t { note, warning, error };
std::string_view nameOf(Severity severity);
std::optional<Severity> severityNamed(std::string_view name);

enum class Verdict : std::uint8_t { ok, faulty, unrecognised, notJudged };
std::string_view nameOf(Verdict verdict);
std::optional<Verdict> verdictNamed(std::string_view name);

// The other words that records use, as literals that live on; null for anything else.
std::optional<std::string_view> wordOfRecords(std::string_view word);

struct RunRecord {
  std::string command;
  std::vector<std::pair<std::string, std::string>> options;
  // Of the tool that ran, when it is not this one.
  std::optional<std::string> toolVersion;
  std::optional<double> libraryVersion;
};

struct ProfileRecord {
  std::string file;
  bool accepted = false;
  std::optional<std::string> text;  // why it was refused
  std::size_t enums = 0;
  std::size_t tlv8s = 0;
  std::size_t characteristics = 0;
  std::size_t services = 0;
};

// What an input turned out not to hold.
struct InputLosses {
  std::size_t gaps = 0;
  std::size_t bytesMissing = 0;
  std::size_t damagedParts = 0;
  std::size_t changedBodies = 0;
  bool endsEarly = false;
  bool bytesGivenUp = false;
  bool connectionsMissing = false;
  bool holdsNoEvents = false;
  bool holdsRequests = false;
  bool holdsResponses = false;
};

// One capture: a file, pieces of a directory or standard input.
struct InputRecord {
  std::size_t input = 0;
  std::string name;
  std::string format;    // empty when it could not be told
  std::string fidelity;  // exact, reconstructed or damaged
  std::size_t bytes = 0;
  bool complete = true;
  std::vector<std::string> lost;  // in words, what of the traffic it does not hold; once it is read
  InputLosses losses;             // what they are made of; in no report
  // Why it could not be read, or not to its end; in no report but as a finding.
  std::optional<std::string> failure;
  Bytes head;  // its first bytes, as far as they were read; in no report
};

struct ConnectionRecord {
  std::size_t connection = 0;
  std::size_t input = 0;
  std::string client;  // empty where the capture does not tell
  std::string server;
  bool partialStart = false;  // it was there before the capture began
};

struct MessageRecord {
  std::size_t message = 0;
  std::size_t connection = 0;
  std::string_view direction;  // to_accessory, to_controller
  std::string_view kind;       // request, response, event, unknown
  std::string className;       // empty when no class recognises it
  std::optional<std::size_t> answers;
  std::optional<std::int64_t> timeNs;  // since 1970-01-01 UTC
  std::uint64_t part = 0;              // of the input, where its first byte stands; 0 for none
  std::string_view partName;           // packet, entry, line
  std::string method;
  std::string url;
  std::optional<std::string> code;
  std::string inputName;
  std::size_t offset = 0;
  std::size_t headerLength = 0;
  std::size_t bodyLength = 0;
  std::optional<std::string> contentType;
  Verdict verdict = Verdict::ok;
  std::string reason;  // why it was not judged
  std::optional<std::string> errorDescription;
};

// Bytes to show beside a finding: rows from `offset` on, with a part of them marked.
struct Excerpt {
  std::size_t offset = 0;  // of the first byte, in the input
  Bytes bytes;
  ByteRange mark;            // within `bytes`
  std::size_t notShown = 0;  // marked bytes beyond these
  bool asText = false;
};

struct DefinitionPlace {
  std::string kind;
  std::string name;
  std::optional<std::string> uuid;
  std::string file;
  std::size_t line = 0;
};

struct Location {
  std::optional<std::size_t> input;  // of the capture; none for a place in a profile
  std::string name;                  // of the file
  std::string_view part;             // start_line, header, body, or empty
  std::optional<std::size_t> byteOffset;
  std::optional<std::size_t> byteLength;
  std::string tlv8Path;
  std::optional<std::string> jsonPointer;  // "" is the whole body
  std::size_t line = 0;                    // in a profile, from 1; 0 when unknown
  std::size_t column = 0;
};

struct Finding {
  std::size_t finding = 0;
  std::optional<std::size_t> message;
  std::string rule;
  Severity severity = Severity::error;
  bool fromTool = false;  // a remark of the tool, not a text of the library
  std::string text;
  Location location;
  std::string expected;
  std::string actual;
  std::optional<DefinitionPlace> definition;
  std::string hint;
  std::optional<Excerpt> excerpt;
  std::string markup;  // the profile element concerned
};

struct GapRecord {
  std::size_t connection = 0;
  std::string_view direction;
  std::size_t offset = 0;
  std::size_t bytes = 0;
};

// What each exit code means. When several apply, the first in this list wins.
enum class ExitCode : int {
  toolFault = 70,
  usage = 2,
  profileRefused = 4,
  inputDamaged = 3,
  findings = 1,
  nothingJudged = 5,
  clean = 0,
};
std::string_view meaningOf(ExitCode code);
// Null for a number that is none of them.
std::optional<ExitCode> exitCodeOf(int number);

struct Summary {
  using Counts = std::map<std::string, std::size_t, std::less<>>;

  std::size_t messages = 0;
  std::size_t judged = 0;
  std::size_t faulty = 0;
  Counts notJudged;         // by reason
  Counts findings;          // by rule
  std::size_t leftOut = 0;  // of the findings, those beyond the most that are written
  std::size_t mostFindings = 0;
  std::size_t ignored = 0;    // findings of rules that are not reported; not in `findings`
  bool stoppedEarly = false;  // at the first message with a finding that counts
  bool complete = true;
  std::vector<ExitCode> outcomes;  // all that apply, in the order above
  int exit = 0;                    // the first of them, or 128 + the signal that ended the run
  std::string verdict;             // what decided, in words, where the outcomes do not say it
  std::string advice;              // what to do next; for people, so in the text alone
};

// The account of several runs as one.
class SummaryTotal {
 public:
  // `judging` tells whether the runs judge messages at all.
  explicit SummaryTotal(bool judging) : judging_(judging) {}

  void add(const Summary& summary);
  void noteLoss(bool damaged);
  // `signal` is the number of the signal that ended it, 0 for none.
  Summary closed(int signal) const;

 private:
  bool judging_;
  std::size_t runs_ = 0;
  int runSignal_ = 0;  // that ended the first run that was ended by one
  Summary total_;
};

// Receives the records of one run in order; those that a sink does not override are nothing to it.
// `finding` follows the message that it belongs to.
class ReportSink {
 public:
  ReportSink() = default;
  ReportSink(const ReportSink&) = delete;
  ReportSink& operator=(const ReportSink&) = delete;
  virtual ~ReportSink() = default;

  virtual void run(const RunRecord&) {}
  virtual void profile(const ProfileRecord&) {}
  virtual void input(const InputRecord&) {}
  virtual void connection(const ConnectionRecord&) {}
  virtual void message(const MessageRecord&) {}
  virtual void finding(const Finding&) {}
  virtual void gap(const GapRecord&) {}
  virtual void summary(const Summary&) {}
  // Nothing more comes for now: writes what is held back.
  virtual void flush() {}
};

// Which findings a run writes. All of the rules kept count for the exit code, written or not.
struct FindingLimits {
  static constexpr std::size_t kMostFindings = 10'000;

  RuleSelection rules;
  std::size_t mostFindings = kMostFindings;
};

// Passes every record to all outputs of the run and keeps the account that the summary gives.
class Report : public ReportSink {
 public:
  explicit Report(std::vector<ReportSink*> sinks, std::optional<Severity> failOn)
      : sinks_(std::move(sinks)), failOn_(failOn) {}

  void setLimits(FindingLimits limits) { limits_ = std::move(limits); }

  void run(const RunRecord& record) override;
  void profile(const ProfileRecord& record) override;
  void input(const InputRecord& record) override;
  void connection(const ConnectionRecord& record) override;
  void message(const MessageRecord& record) override;
  void finding(const Finding& record) override;
  void gap(const GapRecord& record) override;
  void summary(const Summary& record) override;

  // Numbers for the next message, finding and connection, from 1.
  std::size_t nextMessage() const { return account_.messages + 1; }
  std::size_t nextFinding() const { return findings_ + 1; }
  std::size_t nextConnection() const { return connections_ + 1; }

  // Whether findings of this rule are reported.
  bool keeps(std::string_view rule) const { return limits_.rules.keeps(rule); }
  bool hasOutcome(ExitCode code) const;

  // Adds what another account says besides its records: outcomes, findings ignored, an early stop.
  void add(const Summary& account);
  const Summary& account() const { return account_; }

  void noteOutcome(ExitCode code);
  void noteIncomplete() { account_.complete = false; }
  void noteStoppedEarly();
  void setVerdict(std::string verdict) { account_.verdict = std::move(verdict); }
  void setAdvice(std::string advice) { account_.advice = std::move(advice); }
  // Closes the account, passes the summary on and answers the exit code. `signal` is the number of
  // the signal that ended the run, 0 for none; `judging` tells whether the command judges messages
  // at all.
  int finish(bool judging, int signal = 0);

 private:
  std::vector<ReportSink*> sinks_;
  std::optional<Severity> failOn_;
  FindingLimits limits_;
  Summary account_;
  std::size_t findings_ = 0;
  std::size_t connections_ = 0;
};

}  // namespace qv::check
