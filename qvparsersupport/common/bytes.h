#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace qv {

// Bytes that somebody else owns; valid only as long as the owner says.
using ByteView = std::span<const std::uint8_t>;

// Bytes that we own.
using Bytes = std::vector<std::uint8_t>;

inline ByteView bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

inline std::string_view textOf(ByteView bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A run of bytes within some buffer: `offset` from its first byte, `length` in bytes (0 marks a
// place between bytes).
struct ByteRange {
  std::size_t offset = 0;
  std::size_t length = 0;
  friend bool operator==(const ByteRange&, const ByteRange&) = default;
};

}  // namespace qv
