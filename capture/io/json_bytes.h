#pragma once

#include <cstdint>
#include <string_view>

// What readers of JSON texts know of the bytes around the values.
namespace qv::capture {

inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// White space of JSON (RFC 8259, section 2).
inline bool isBlank(std::uint8_t byte) {
  return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

}  // namespace qv::capture
