#pragma once

#include <cstdint>
#include <optional>

namespace qv::capture {

// How an interface of a pcapng file counts time: the options if_tsresol and if_tsoffset.
struct PcapngClock {
  // The negative power of 10 of a unit, or with the highest bit of 2.
  std::uint8_t resolution = 6;
  std::int64_t offsetSeconds = 0;

  // Nanoseconds since 1970; null where 64 bits do not hold them.
  std::optional<std::int64_t> timeNs(std::uint64_t units) const;
};

}  // namespace qv::capture
