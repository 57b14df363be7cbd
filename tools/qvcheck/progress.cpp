#include "tools/qvcheck/progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

#include "tools/qvcheck/report_texts.h"

namespace qv::check {

namespace {

constexpr std::chrono::milliseconds kPause(100);
constexpr double kMegabyte = 1e6;

}  // namespace

void Progress::read(std::size_t bytes) {
  bytes_ += bytes;
  const auto now = std::chrono::steady_clock::now();
  if (now < next_) return;
  next_ = now + kPause;
  show();
}

void Progress::message(const MessageRecord& record) {
  ++messages_;
  if (record.verdict == Verdict::faulty) ++faulty_;
}

void Progress::show() {
  std::string line = fmt::format("{:.1f} MB", static_cast<double>(bytes_) / kMegabyte);
  if (total_ && *total_ > 0) {
    const std::uint64_t percent = std::min<std::uint64_t>(bytes_ * 100 / *total_, 100);
    line += fmt::format(" of {:.1f} MB ({} %)", static_cast<double>(*total_) / kMegabyte, percent);
  }
  // Carriage return and "erase in line" (ECMA-48, 8.3.41).
  terminal_ << fmt::format("\r\x1B[K{}, {}, {} faulty", line, counted(messages_, "message"),
                           faulty_)
            << std::flush;
  isShown_ = true;
}

void Progress::clear() {
  if (!isShown_) return;
  terminal_ << "\r\x1B[K" << std::flush;
  isShown_ = false;
}

}  // namespace qv::check
