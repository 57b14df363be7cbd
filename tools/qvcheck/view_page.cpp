#include "tools/qvcheck/view_page.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/excerpt.h"
#include "tools/qvcheck/report_texts.h"

namespace qv::check {

void ViewPage::line(std::size_t level, std::string_view text) {
  ++lines_;
  if (lines_ > kMostLines + 1) return;
  if (lines_ == kMostLines + 1) {
    level = 1;
    text = "... and more, which is not shown";
  }
  const std::size_t end = text.find_last_not_of(' ');
  out_ << std::string(2 * level, ' ') << text.substr(0, end == std::string_view::npos ? 0 : end + 1)
       << '\n';
}

void ViewPage::bytes(std::size_t level, ByteView bytes, std::size_t offset, std::size_t mostRows) {
  const std::size_t shown = std::min(bytes.size(), mostRows * kBytesInRow);
  const std::size_t width = fmt::formatted_size("{}", offset + shown);
  for (std::size_t row = 0; row < shown; row += kBytesInRow) {
    const ByteView part = bytes.subspan(row, std::min(kBytesInRow, bytes.size() - row));
    line(level, fmt::format("{:>{}} | {}", offset + row, width, hexRow(part)));
  }
  if (shown < bytes.size()) {
    line(level, fmt::format("... and {}", counted(bytes.size() - shown, "more byte")));
  }
}

std::string faultMark(const Ink& ink, std::string_view text) {
  return text.empty() ? std::string() : ink(Shade::red, "! " + escaped(text));
}

std::string hexText(ByteView bytes) {
  return fmt::format("{:02x}", fmt::join(bytes, " "));
}

}  // namespace qv::check
