#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>

#include "qvparsersupport/tlv8/tlv8_packet.h"

namespace qv::test {

// "01 0a" and back; the empty text for no bytes.
inline std::string hexOf(ByteView bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += fmt::format("{}{:02x}", text.empty() ? "" : " ", byte);
  }
  return text;
}

inline Bytes bytesFromHex(std::string_view text) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 3) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    bytes.push_back(static_cast<std::uint8_t>(digit(text[i]) * 16 + digit(text[i + 1])));
  }
  return bytes;
}

// Fields "type=value@offset" with "-" for a value that is absent, then the error.
inline std::string dump(const QVTLV8Packet& packet) {
  std::string text;
  const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  for (const QVTLV8Field& field : *packet.fields()) {
    add(fmt::format("{:02x}={}@{}", field.type(), field.value() ? hexOf(*field.value()) : "-",
                    field.offset()));
  }
  if (packet.errorDescription()) {
    add(fmt::format("{} @{}", *packet.errorDescription(), packet.errorOffset().value()));
  }
  return text;
}

}  // namespace qv::test
