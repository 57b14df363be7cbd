#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/io/line_reader.h"
#include "tools/qvcheck/report.h"
#include "tools/qvcheck/saved_line.h"

namespace qv::check {

// Reads the records of runs that were saved as NDJSON ("qv.run/1"), one run behind the other.
// Reading pauses behind a summary, and ends at the first line that is broken.
class SavedRunReader {
 public:
  explicit SavedRunReader(std::shared_ptr<capture::ByteSource> source);

  // Hands the next records to the sink; false when there are no more of the run. A message is
  // handed on together with the record behind it, because a finding tells the name of its input.
  bool next(ReportSink& sink);
  // Behind a whole run: whether there is more, which `next` then reads as another one.
  bool goOn();

  // What is wrong with the file, with its line; null as long as nothing is.
  const std::optional<std::string>& error() const { return error_; }
  // Whether the last record of the run was there.
  bool isWhole() const { return isWhole_; }

 private:
  void take(const capture::InputLine& line, ReportSink& sink);
  void handOnMessage(ReportSink& sink, const Finding* following = nullptr);
  void handOn(const RunRecord& run, ReportSink& sink);
  void handOn(MessageRecord& message, ReportSink& sink);
  void handOn(Summary& summary, ReportSink& sink);
  static void handOn(std::monostate, ReportSink&) {}
  static void handOn(const ProfileRecord& profile, ReportSink& sink) { sink.profile(profile); }
  static void handOn(const InputRecord& input, ReportSink& sink) { sink.input(input); }
  static void handOn(const ConnectionRecord& opened, ReportSink& sink) { sink.connection(opened); }
  static void handOn(const Finding& finding, ReportSink& sink) { sink.finding(finding); }
  static void handOn(const GapRecord& gap, ReportSink& sink) { sink.gap(gap); }

  capture::LineReader lines_;
  std::optional<capture::InputLine> following_;  // read ahead, behind a summary
  std::optional<MessageRecord> message_;         // read, not handed on yet
  std::size_t mostFindings_ = 0;
  std::uint64_t line_ = 0;
  bool atBeginning_ = true;
  bool isWhole_ = false;
  std::optional<std::string> error_;
};

// The run records of a file, each as far as it can be read.
std::vector<RunRecord> runRecordsOf(std::shared_ptr<capture::ByteSource> source);

}  // namespace qv::check
