#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>

#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

// Reads an unsigned number that stands at `offset`; the caller has checked that it stands there.
template <std::unsigned_integral Number>
Number numberAt(ByteView bytes, std::size_t offset, bool bigEndian) {
  Number number;
  std::memcpy(&number, bytes.data() + offset, sizeof number);
  if (bigEndian == (std::endian::native == std::endian::big)) return number;
  if constexpr (sizeof number == 2) return __builtin_bswap16(number);
  if constexpr (sizeof number == 4) return __builtin_bswap32(number);
  if constexpr (sizeof number == 8) return __builtin_bswap64(number);
}

// In network byte order.
inline std::uint16_t network16(ByteView bytes, std::size_t offset) {
  return numberAt<std::uint16_t>(bytes, offset, true);
}
inline std::uint32_t network32(ByteView bytes, std::size_t offset) {
  return numberAt<std::uint32_t>(bytes, offset, true);
}

}  // namespace qv::capture
