#include "qvparsersupport/common/base64.h"

#include <algorithm>
#include <array>

namespace qv {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kForeign = 0xFF;

constexpr std::array<std::uint8_t, 256> makeDigits() {
  std::array<std::uint8_t, 256> digits{};
  digits.fill(kForeign);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    digits[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return digits;
}

constexpr std::array<std::uint8_t, 256> kDigits = makeDigits();

}  // namespace

std::optional<Bytes> base64Decoded(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') ++padding;
  const std::string_view digits = text.substr(0, text.size() - padding);

  Bytes bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char c : digits) {
    const std::uint8_t digit = kDigits[static_cast<std::uint8_t>(c)];
    if (digit == kForeign) return std::nullopt;
    bits = (bits << 6) | digit;
    count += 6;
    if (count >= 8) {
      count -= 8;
      bytes.push_back(static_cast<std::uint8_t>(bits >> count));
      bits &= (1U << count) - 1;
    }
  }
  if (bits != 0) return std::nullopt;  // bits after the last byte
  return bytes;
}

void appendBase64(std::string& text, ByteView bytes) {
  for (; !bytes.empty(); bytes = bytes.subspan(std::min<std::size_t>(3, bytes.size()))) {
    std::uint32_t bits = std::uint32_t{bytes[0]} << 16;
    if (bytes.size() > 1) bits |= std::uint32_t{bytes[1]} << 8;
    if (bytes.size() > 2) bits |= bytes[2];
    for (std::size_t digit = 0; digit < 4; ++digit) {
      text.push_back(digit > bytes.size() ? '=' : kAlphabet[(bits >> (18 - 6 * digit)) & 63]);
    }
  }
}

}  // namespace qv
