#pragma once

// Walks over JSON text that is known to be valid, without building anything. Internal. With other
// text a walk ends early, but never leaves the text, always ends and needs no stack.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/bytes.h"

namespace qv {

// What the inside of a string token means. Answers the token itself where it holds no escape, and
// otherwise the text that it builds in `decoded`.
std::string_view decodedJSONString(std::string_view inside, std::string& decoded);

class JSONScan {
 public:
  explicit JSONScan(std::string_view text) : text_(text) { skipBlanks(); }

  std::size_t at() const { return at_; }
  // The byte at the front, NUL at the end.
  char front() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  std::string_view since(std::size_t begin) const { return text_.substr(begin, at_ - begin); }
  void skipBlanks();
  // Goes past the byte and the blanks behind it, if it is the one at the front.
  bool skip(char expected);
  // Goes past a string, a number or a literal, or past a whole value; false without progress.
  bool skipToken();
  bool skipValue();

 private:
  void skipString();

  std::string_view text_;
  std::size_t at_ = 0;
};

// Shows the text to a visitor, in order. The visitor names each value by a number of its own:
//   member(container, key, range of the key), element(container, index): the name of the value
//     about to come, kNoJSONValue to pass it by;
//   enters(name): whether to look inside this array or object;
//   leaves(name, range): a value that was named has ended;
//   done(): whether to stop.
inline constexpr std::size_t kNoJSONValue = static_cast<std::size_t>(-1);

template <class Visitor>
class JSONWalk {
 public:
  JSONWalk(std::string_view text, Visitor& visitor) : scan_(text), visitor_(visitor) {}

  void run(std::size_t root) {
    bool goesOn = begin(root);
    while (goesOn && !open_.empty() && !visitor_.done()) goesOn = next();
  }

 private:
  struct Open {
    std::size_t name;
    std::size_t start;
    bool isArray;
    std::size_t count;
  };

  // A value begins; all of it is read unless the visitor looks inside.
  bool begin(std::size_t name) {
    const char front = scan_.front();
    const std::size_t start = scan_.at();
    if ((front == '{' || front == '[') && name != kNoJSONValue && visitor_.enters(name)) {
      scan_.skip(front);
      open_.push_back({name, start, front == '[', 0});
      return true;
    }
    if (!scan_.skipValue()) return false;
    if (name != kNoJSONValue) visitor_.leaves(name, {start, scan_.at() - start});
    scan_.skipBlanks();
    return true;
  }

  bool next() {
    Open& open = open_.back();
    if (scan_.front() == (open.isArray ? ']' : '}')) {
      const Open closed = open;
      open_.pop_back();
      visitor_.leaves(closed.name, {closed.start, scan_.at() + 1 - closed.start});
      return scan_.skip(closed.isArray ? ']' : '}');
    }
    if (open.count > 0 && !scan_.skip(',')) return false;
    const std::size_t index = open.count++;
    if (open.isArray) return begin(visitor_.element(open.name, index));
    const std::size_t start = scan_.at();
    if (scan_.front() != '"' || !scan_.skipToken()) return false;
    const std::string_view token = scan_.since(start);
    const ByteRange range{start, token.size()};
    scan_.skipBlanks();
    if (token.size() < 2 || !scan_.skip(':')) return false;
    const auto key = decodedJSONString(token.substr(1, token.size() - 2), decoded_);
    return begin(visitor_.member(open.name, key, range));
  }

  JSONScan scan_;
  Visitor& visitor_;
  std::vector<Open> open_;
  std::string decoded_;
};

}  // namespace qv
