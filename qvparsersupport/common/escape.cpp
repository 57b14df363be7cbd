#include "qvparsersupport/common/escape.h"

#include <fmt/format.h>

#include <cstdint>
#include <iterator>

#include "qvparsersupport/common/utf8.h"

namespace qv {

namespace {

// Line and paragraph separators, zero-width and bidirectional controls, and the byte-order mark.
bool isTreacherous(std::uint32_t codePoint) {
  return (codePoint >= 0x80 && codePoint < 0xA0) || codePoint == 0x061C ||
         (codePoint >= 0x200B && codePoint <= 0x200F) ||
         (codePoint >= 0x2028 && codePoint <= 0x202E) ||
         (codePoint >= 0x2060 && codePoint <= 0x206F) || codePoint == 0xFEFF;
}

std::uint32_t codePointOf(std::string_view sequence) {
  const auto lead = static_cast<unsigned char>(sequence[0]);
  std::uint32_t codePoint = lead & (0xFFU >> (sequence.size() + 1));
  for (const char c : sequence.substr(1))
    codePoint = (codePoint << 6) | (static_cast<unsigned char>(c) & 0x3FU);
  return codePoint;
}

// The well-formed sequence at the front, empty when there is none.
std::string_view sequenceAt(std::string_view text) {
  for (std::size_t length = 1; length <= 4 && length <= text.size(); ++length) {
    if (isValidUTF8(bytesOf(text.substr(0, length)))) return text.substr(0, length);
  }
  return {};
}

bool isControl(char c) {
  return (c >= 0 && c < 0x20) || c == 0x7F;
}

}  // namespace

std::string escaped(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const std::string_view sequence = sequenceAt(text);
    if (sequence.empty() || isControl(text[0])) {
      fmt::format_to(std::back_inserter(out), "\\x{:02x}", static_cast<unsigned char>(text[0]));
    } else if (sequence.size() > 1 && isTreacherous(codePointOf(sequence))) {
      fmt::format_to(std::back_inserter(out), "\\u{{{:04X}}}", codePointOf(sequence));
    } else {
      out.append(sequence);
    }
    text.remove_prefix(sequence.empty() ? 1 : sequence.size());
  }
  return out;
}

}  // namespace qv
