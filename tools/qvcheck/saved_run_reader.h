#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "capture/line_reader.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// Reads the records of a run that was saved as NDJSON ("qv.run/1"). Keys that are not known are
// passed over. Reading ends behind the summary, or at the first line that is broken.
class SavedRunReader {
 public:
  explicit SavedRunReader(std::shared_ptr<capture::ByteSource> source);

  // Hands the next records to the sink; false when there are no more. A message is handed on
  // together with the record behind it, because a finding tells the name of its input.
  bool next(ReportSink& sink);

  // What is wrong with the file, with its line; null as long as nothing is.
  const std::optional<std::string>& error() const { return error_; }
  // Whether its last record was there.
  bool isWhole() const { return isWhole_; }

 private:
  void take(const capture::InputLine& line, ReportSink& sink);
  void handOnMessage(ReportSink& sink, const Finding* following = nullptr);

  capture::LineReader lines_;
  std::optional<MessageRecord> message_;  // read, not handed on yet
  std::size_t mostFindings_ = 0;
  std::uint64_t line_ = 0;
  bool isWhole_ = false;
  std::optional<std::string> error_;
};

}  // namespace qv::check
