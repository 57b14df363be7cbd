#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>

#include "tools/qvcheck/report.h"

namespace qv::check {

// One line on a terminal that tells how far a run is: bytes, messages, faulty messages. It is
// written again in its place, at most ten times a second, and is gone before a report writes.
class Progress : public ReportSink {
 public:
  // `total` bytes are to be read; null when that is not known.
  Progress(std::ostream& terminal, std::optional<std::uint64_t> total)
      : terminal_(terminal), total_(total) {}
  ~Progress() override { clear(); }

  // So many bytes more were read.
  void read(std::size_t bytes);
  void clear();

  void profile(const ProfileRecord&) override { clear(); }
  void input(const InputRecord&) override { clear(); }
  void connection(const ConnectionRecord&) override { clear(); }
  void message(const MessageRecord& record) override;
  void finding(const Finding&) override { clear(); }
  void summary(const Summary&) override { clear(); }

 private:
  void show();

  std::ostream& terminal_;
  std::optional<std::uint64_t> total_;
  std::uint64_t bytes_ = 0;
  std::size_t messages_ = 0;
  std::size_t faulty_ = 0;
  bool isShown_ = false;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace qv::check
