#include "capture/tcp/tcp_segment.h"

#include <fmt/format.h>

#include <cstddef>

namespace qv::capture {
namespace {

constexpr std::size_t kGroups = 8;

// RFC 5952: the longest run of two or more zero groups, the first of equal ones, becomes "::".
std::string textOfIPv6(const std::array<std::uint8_t, 16>& address) {
  std::array<unsigned, kGroups> groups{};
  std::size_t runBegin = kGroups;
  std::size_t runLength = 1;
  std::size_t zeros = 0;
  for (std::size_t index = 0; index < kGroups; ++index) {
    groups[index] = static_cast<unsigned>(address[2 * index] << 8 | address[2 * index + 1]);
    zeros = groups[index] == 0 ? zeros + 1 : 0;
    if (zeros <= runLength) continue;
    runLength = zeros;
    runBegin = index + 1 - zeros;
  }
  std::string text;
  std::size_t index = 0;
  while (index < kGroups) {
    if (index == runBegin) {
      text += "::";
      index += runLength;
      continue;
    }
    if (!text.empty() && text.back() != ':') text += ':';
    fmt::format_to(std::back_inserter(text), "{:x}", groups[index++]);
  }
  return text;
}

}  // namespace

std::string Endpoint::text() const {
  if (isIPv6) return fmt::format("[{}]:{}", textOfIPv6(address), port);
  return fmt::format("{}.{}.{}.{}:{}", address[0], address[1], address[2], address[3], port);
}

}  // namespace qv::capture
