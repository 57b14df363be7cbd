#include "tools/qvcheck/escape.h"

#include <fmt/format.h>

#include "qvparsersupport/common/utf8.h"

namespace qv::check {

std::string escapedShort(std::string_view text) {
  constexpr std::size_t kLongest = 200;
  if (text.size() <= kLongest) return escaped(text);
  return fmt::format("{}... ({} more)", escaped(text.substr(0, kLongest)), text.size() - kLongest);
}

std::size_t escapedWidth(std::string_view text) {
  return codePointCount(escaped(text));
}

}  // namespace qv::check
