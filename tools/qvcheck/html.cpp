#include "tools/qvcheck/html.h"

#include "tools/qvcheck/escape.h"

namespace qv::check {

std::string html(std::string_view text) {
  std::string result;
  for (const char c : escaped(text)) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string Anchors::take(std::string_view prefix, std::string_view name) {
  std::string anchor(prefix);
  for (const char c : name) {
    const bool upper = c >= 'A' && c <= 'Z';
    if (upper || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
      if (anchor.size() == prefix.size()) anchor += '-';
      anchor += upper ? static_cast<char>(c - 'A' + 'a') : c;
    } else if (anchor.back() != '-') {
      anchor += '-';
    }
  }
  if (anchor.back() == '-') anchor.pop_back();
  if (!taken_.contains(anchor)) {
    taken_.insert(anchor);
    return anchor;
  }
  std::size_t& number = numbers_[anchor];
  if (number == 0) number = 1;
  std::string numbered;
  do {
    numbered = anchor + "--" + std::to_string(++number);
  } while (taken_.contains(numbered));
  taken_.insert(numbered);
  return numbered;
}

}  // namespace qv::check
