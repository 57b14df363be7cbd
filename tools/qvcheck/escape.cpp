#include "tools/qvcheck/escape.h"

#include <fmt/format.h>

#include "qvparsersupport/common/utf8.h"

namespace qv::check {

std::string escapedShort(std::string_view text) {
  constexpr std::size_t kLongest = 200;
  if (text.size() <= kLongest) return escaped(text);
  return fmt::format("{}... ({} more)", escaped(text.substr(0, kLongest)), text.size() - kLongest);
}

std::string escapedToWidth(std::string_view text, std::size_t columns) {
  constexpr std::string_view kEllipsis = "...";
  // No character needs more bytes than this, so that what is cut off need not be escaped.
  constexpr std::size_t kMostBytes = 4;
  const bool isLong = text.size() > columns * kMostBytes;
  std::string line = escaped(isLong ? text.substr(0, columns * kMostBytes) : text);
  std::size_t end = 0;
  std::size_t taken = 0;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const bool continues = (static_cast<unsigned char>(line[at]) & 0xC0) == 0x80;
    if (continues) continue;
    if (taken + kEllipsis.size() == columns) end = at;
    ++taken;
  }
  if (taken <= columns && !isLong) return line;
  line.resize(end);
  return line.append(kEllipsis);
}

std::size_t escapedWidth(std::string_view text) {
  return codePointCount(escaped(text));
}

}  // namespace qv::check
