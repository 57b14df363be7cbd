#include "capture/piece_names.h"

#include <algorithm>
#include <utility>

namespace qv::capture {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kCompressed = ".gz";
constexpr std::string_view kSeparators = "-_. ";

// A number of any length as it is compared: its digits without leading zeros.
std::string_view withoutZeros(std::string_view digits) {
  return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

int compareNumbers(std::string_view left, std::string_view right) {
  left = withoutZeros(left);
  right = withoutZeros(right);
  if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
  return left.compare(right);
}

// By bytes, but runs of digits by their number.
bool naturallyLess(std::string_view left, std::string_view right) {
  const std::string_view wholeLeft = left;
  const std::string_view wholeRight = right;
  while (!left.empty() && !right.empty()) {
    const std::size_t leftDigits = std::min(left.find_first_not_of(kDigits), left.size());
    const std::size_t rightDigits = std::min(right.find_first_not_of(kDigits), right.size());
    if (leftDigits > 0 && rightDigits > 0) {
      const int order = compareNumbers(left.substr(0, leftDigits), right.substr(0, rightDigits));
      if (order != 0) return order < 0;
      left.remove_prefix(leftDigits);
      right.remove_prefix(rightDigits);
      continue;
    }
    if (left.front() != right.front()) {
      return static_cast<unsigned char>(left.front()) < static_cast<unsigned char>(right.front());
    }
    left.remove_prefix(1);
    right.remove_prefix(1);
  }
  if (left.empty() != right.empty()) return left.empty();
  return wholeLeft < wholeRight;
}

bool isDigit(char letter) {
  return letter >= '0' && letter <= '9';
}

// Without its numbers and what separates them from the text before.
std::string withoutNumbers(std::string_view text) {
  std::string rest;
  bool isInNumber = false;
  for (const char letter : text) {
    if (!isDigit(letter)) {
      rest += letter;
    } else if (!isInNumber) {
      rest.resize(rest.find_last_not_of(kSeparators) + 1);
    }
    isInNumber = isDigit(letter);
  }
  return rest;
}

}  // namespace

PieceName::PieceName(std::string name) : whole(std::move(name)) {
  std::string_view text = whole;
  if (text.ends_with(kCompressed)) text.remove_suffix(kCompressed.size());
  const std::size_t dot = std::min(text.rfind('.'), text.size());
  stem = text.substr(0, dot);
  extension = text.substr(dot);
}

std::string PieceName::family() const {
  return withoutNumbers(isOfStream() ? stem : stem + extension);
}

bool operator<(const PieceName& left, const PieceName& right) {
  if (left.stem != right.stem) return naturallyLess(left.stem, right.stem);
  if (left.extension != right.extension) return naturallyLess(left.extension, right.extension);
  return left.whole < right.whole;
}

}  // namespace qv::capture
