#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

#include "qvparsersupport/common/bytes.h"
#include "tools/qvcheck/ink.h"

namespace qv::check {

// Where a message is shown: lines that are indented by levels, at most so many for one message.
class ViewPage {
 public:
  static constexpr std::size_t kMostLines = 20'000;

  ViewPage(std::ostream& out, bool colored) : ink(colored), out_(out) {}

  // A message begins, and its lines are counted from here.
  void begin() { lines_ = 0; }
  // Whether no more lines are taken.
  bool isFull() const { return lines_ > kMostLines; }
  // Writes a line; the one beyond the last says that there are more.
  void line(std::size_t level, std::string_view text);
  // Rows of 16 bytes, numbered from `offset` on, at most `mostRows`, with a note of what is left.
  void bytes(std::size_t level, ByteView bytes, std::size_t offset, std::size_t mostRows);

  const Ink ink;

 private:
  std::ostream& out_;
  std::size_t lines_ = 0;
};

// A mark that something is wrong here: "! text", empty for no text.
std::string faultMark(const Ink& ink, std::string_view text);
// "01 02 0a".
std::string hexText(ByteView bytes);

}  // namespace qv::check
