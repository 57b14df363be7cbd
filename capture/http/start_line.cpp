#include "capture/http/start_line.h"

#include <algorithm>
#include <string_view>

namespace qv::capture {
namespace {

using namespace std::string_view_literals;

// Bounds on what a request line that is searched for may hold, so that a search through garbage
// keeps a bounded stretch of it.
constexpr std::size_t kShortestMethod = 3;
constexpr std::size_t kLongestMethod = 10;
constexpr std::size_t kLongestTarget = std::size_t{64} << 10;
// The same for a word that stands where a request is due.
constexpr std::size_t kLongestWord = 32;

constexpr std::string_view kMethods[] = {"GET"sv,     "PUT"sv,   "POST"sv,   "HEAD"sv,   "PATCH"sv,
                                         "OPTIONS"sv, "TRACE"sv, "DELETE"sv, "CONNECT"sv};

bool isUpper(std::uint8_t byte) {
  return byte >= 'A' && byte <= 'Z';
}
bool isLetter(std::uint8_t byte) {
  return isUpper(byte) || (byte >= 'a' && byte <= 'z');
}
bool isDigit(std::uint8_t byte) {
  return byte >= '0' && byte <= '9';
}
bool isBlank(std::uint8_t byte) {
  return byte == ' ' || byte == '\t';
}

StartLineCheck prefixAt(ByteView bytes, std::string_view prefix) {
  const std::size_t shared = std::min(bytes.size(), prefix.size());
  if (textOf(bytes.first(shared)) != prefix.substr(0, shared)) return StartLineCheck::no;
  return shared == prefix.size() ? StartLineCheck::yes : StartLineCheck::undecided;
}

// `name`, "1.", a digit and, where asked for, a blank.
StartLineCheck versionAt(ByteView bytes, std::string_view name, bool blankAfter) {
  const StartLineCheck prefix = prefixAt(bytes, name);
  if (prefix != StartLineCheck::yes) return prefix;
  const ByteView rest = bytes.subspan(name.size());
  if (!rest.empty() && !isDigit(rest[0])) return StartLineCheck::no;
  if (rest.size() > 1 && blankAfter && !isBlank(rest[1])) return StartLineCheck::no;
  return rest.size() < (blankAfter ? 2U : 1U) ? StartLineCheck::undecided : StartLineCheck::yes;
}

StartLineCheck either(StartLineCheck left, StartLineCheck right) {
  if (left == StartLineCheck::yes || right == StartLineCheck::yes) return StartLineCheck::yes;
  return left == StartLineCheck::no ? right : left;
}

// How many of the letters before the space at `end` are the method: those of a method that is known
// by name, so that a letter that strays before it is left out, or as many as a method may have.
std::size_t methodLength(ByteView bytes, std::size_t end, std::size_t letters) {
  const std::string_view run = textOf(bytes.subspan(end - letters, letters));
  std::size_t longest = 0;
  for (std::string_view method : kMethods) {
    if (run.ends_with(method)) longest = std::max(longest, method.size());
  }
  return longest > 0 ? longest : letters;
}

}  // namespace

StartLineCheck startLineAt(Direction direction, ByteView bytes) {
  if (direction == Direction::toController) {
    return either(prefixAt(bytes, "HTTP/"), prefixAt(bytes, "EVENT/"));
  }
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0 && bytes[i] == ' ') return StartLineCheck::yes;
    if (i == kLongestWord || !isLetter(bytes[i])) return StartLineCheck::no;
  }
  return StartLineCheck::undecided;
}

bool knownMethodAt(ByteView bytes) {
  const std::string_view text = textOf(bytes);
  return std::any_of(std::begin(kMethods), std::end(kMethods), [&](std::string_view method) {
    return text.starts_with(method) && text.substr(method.size()).starts_with(' ');
  });
}

StartLineSearch::Result StartLineSearch::advance(ByteView bytes, bool atEnd) {
  return direction_ == Direction::toController ? advanceResponses(bytes, atEnd)
                                               : advanceRequests(bytes, atEnd);
}

StartLineSearch::Result StartLineSearch::advanceResponses(ByteView bytes, bool atEnd) const {
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] != 'H' && bytes[i] != 'E') continue;
    const StartLineCheck check = either(versionAt(bytes.subspan(i), "HTTP/1.", true),
                                        versionAt(bytes.subspan(i), "EVENT/1.", true));
    if (check == StartLineCheck::yes) return {true, i};
    if (check == StartLineCheck::undecided && !atEnd) return {false, i};
  }
  return {false, bytes.size()};
}

StartLineSearch::Result StartLineSearch::advanceRequests(ByteView bytes, bool atEnd) {
  for (; scan_ < bytes.size(); ++scan_) {
    const std::uint8_t byte = bytes[scan_];
    if (byte == ' ') {
      if (method_ && scan_ > target_) {
        const StartLineCheck check = versionAt(bytes.subspan(scan_ + 1), "HTTP/1.", false);
        if (check == StartLineCheck::yes) return {true, *method_};
        if (check == StartLineCheck::undecided && !atEnd) return release(*method_);
      }
      method_.reset();
      if (letterRun_ >= kShortestMethod) {
        method_ = scan_ - methodLength(bytes, scan_, letterRun_);
        target_ = scan_ + 1;
      }
      letterRun_ = 0;
      continue;
    }
    letterRun_ = isUpper(byte) ? std::min(letterRun_ + 1, kLongestMethod) : 0;
    if (method_ && (isLineEnd(byte) || scan_ - target_ >= kLongestTarget)) method_.reset();
  }
  if (atEnd) return {false, bytes.size()};
  return release(method_ ? *method_ : scan_ - letterRun_);
}

// Counts everything from the first byte that the caller keeps.
StartLineSearch::Result StartLineSearch::release(std::size_t length) {
  scan_ -= length;
  if (method_) {
    *method_ -= length;
    target_ -= length;
  }
  return {false, length};
}

}  // namespace qv::capture
