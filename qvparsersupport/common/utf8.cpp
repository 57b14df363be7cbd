#include "qvparsersupport/common/utf8.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace qv {

// RFC 3629, section 4.
std::size_t utf8SequenceLength(ByteView bytes) {
  const std::uint8_t lead = bytes[0];
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                             : lead >= 0xE0 && lead <= 0xEF ? 3
                             : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                            : 0;
  if (length == 0 || bytes.size() < length) return 0;
  const std::uint8_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const std::uint8_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (bytes[1] < low || bytes[1] > high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if ((bytes[i] & 0xC0) != 0x80) return 0;
  }
  return length;
}

bool isValidUTF8(ByteView bytes) {
  while (!bytes.empty()) {
    const std::size_t length = utf8SequenceLength(bytes);
    if (length == 0) return false;
    bytes = bytes.subspan(length);
  }
  return true;
}

std::size_t codePointCount(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

bool isPlainLowercase(std::string_view text) {
  // Eight bytes at a time: the top bit of a lane tells "beyond ASCII", "at least A", "beyond Z".
  constexpr std::uint64_t kLanes = 0x0101010101010101U;
  constexpr std::uint64_t kTop = 0x80 * kLanes;
  const auto isPlain = [](std::uint64_t word) {
    const std::uint64_t low = word & ~kTop;
    const std::uint64_t fromA = low + (0x80 - 'A') * kLanes;
    const std::uint64_t beyondZ = low + (0x80 - 'Z' - 1) * kLanes;
    return ((word | (fromA & ~beyondZ)) & kTop) == 0;
  };
  std::uint64_t word = 0;
  std::size_t at = 0;
  for (; at + 8 <= text.size(); at += 8) {
    std::memcpy(&word, text.data() + at, 8);
    if (!isPlain(word)) return false;
  }
  if (at == text.size()) return true;
  word = 0;
  for (; at < text.size(); ++at) word = word << 8 | static_cast<unsigned char>(text[at]);
  return isPlain(word);
}

std::string lowercased(std::string_view text) {
  std::string result(text);
  std::size_t ascii = 0;
  for (; ascii < result.size() && (result[ascii] & 0x80) == 0; ++ascii) {
    const char c = result[ascii];
    if (c >= 'A' && c <= 'Z') result[ascii] = static_cast<char>(c + ('a' - 'A'));
  }
  if (ascii == result.size()) return result;
  result.resize(ascii);
  ByteView rest = bytesOf(text.substr(ascii));
  while (!rest.empty()) {
    const std::size_t length = utf8SequenceLength(rest);
    if (length <= 1) {
      const std::uint8_t c = rest[0];
      result.push_back(static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c));
      rest = rest.subspan(1);
      continue;
    }
    utf8proc_int32_t codePoint = 0;
    utf8proc_iterate(rest.data(), static_cast<utf8proc_ssize_t>(length), &codePoint);
    utf8proc_uint8_t encoded[4];
    const auto written = utf8proc_encode_char(utf8proc_tolower(codePoint), encoded);
    result.append(reinterpret_cast<const char*>(encoded), static_cast<std::size_t>(written));
    rest = rest.subspan(length);
  }
  return result;
}

}  // namespace qv
