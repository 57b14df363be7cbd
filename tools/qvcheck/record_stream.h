#pragma once

// The records of a report in binary form, from one process of a run to another of it.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/common/bytes.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// What a worker says last: that it came to its end, and what is in no record.
struct WorkerEnd {
  bool goesOn = true;  // false when nothing is to be read behind this input
  Summary account;
  std::string complaints;  // for standard error
};

// Writes records to a file descriptor, which stays the caller's. Run, profiles and summary are not
// a worker's to tell.
class RecordWriter : public ReportSink {
 public:
  explicit RecordWriter(int descriptor) : descriptor_(descriptor) {}

  void input(const InputRecord& record) override;
  void connection(const ConnectionRecord& record) override;
  void message(const MessageRecord& record) override;
  void finding(const Finding& record) override;
  void gap(const GapRecord& record) override;

  // Writes everything out; false when that failed, now or before.
  bool end(const WorkerEnd& record);

 private:
  template <class Record>
  void write(char type, const Record& record);
  bool writeOut();

  int descriptor_;
  std::string buffer_;
  bool failed_ = false;
};

// Reads such a file from its beginning, without moving the position of the descriptor.
class RecordReplay {
 public:
  explicit RecordReplay(int descriptor) : descriptor_(descriptor) {}

  // Hands the next record to the sink; false at the end of what is whole.
  bool next(ReportSink& sink);
  // The last record, once it was read; null for a worker that did not come to its end.
  const std::optional<WorkerEnd>& end() const { return end_; }

 private:
  // The next bytes, null when there are fewer.
  std::optional<std::string_view> bytes(std::size_t count);

  int descriptor_;
  std::string buffer_;
  std::size_t position_ = 0;  // in `buffer_`
  std::uint64_t read_ = 0;    // of the file
  std::optional<WorkerEnd> end_;
};

}  // namespace qv::check
