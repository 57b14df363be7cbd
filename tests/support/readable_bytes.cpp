#include "tests/support/readable_bytes.h"

#include <cstdio>
#include <cstdlib>

#include "qvparsersupport/common/text_readings.h"

namespace qv::test {

namespace {

// The byte that the escape at the front of the text names; `taken` is the length of the escape.
std::uint8_t escapedByte(std::string_view text, std::size_t& taken) {
  taken = 2;
  switch (text.size() > 1 ? text[1] : '\0') {
    case 'r':
      return '\r';
    case 'n':
      return '\n';
    case 't':
      return '\t';
    case '\\':
      return '\\';
    case 'x':
      if (text.size() >= 4) {
        if (const auto value = hexadecimalReading(text.substr(2, 2))) {
          taken = 4;
          return static_cast<std::uint8_t>(*value);
        }
      }
      [[fallthrough]];
    default:
      std::fprintf(stderr, "broken escape: %.*s\n", 8, text.data());
      std::abort();
  }
}

}  // namespace

Bytes readableBytes(std::string_view text) {
  Bytes bytes;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() == text.size() ? line.size() : line.size() + 1);
    if (line.starts_with('#')) continue;
    for (std::size_t at = 0; at < line.size();) {
      std::size_t taken = 1;
      bytes.push_back(line[at] == '\\' ? escapedByte(line.substr(at), taken)
                                       : static_cast<std::uint8_t>(line[at]));
      at += taken;
    }
  }
  return bytes;
}

}  // namespace qv::test
