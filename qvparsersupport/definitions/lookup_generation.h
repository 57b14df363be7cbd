#pragma once

// Internal. Tells an index over definitions whether somebody wrote to one of them since.

#include <atomic>
#include <cstdint>

namespace qv {

// Grows whenever something is written to an indexed definition that could change the answer of a
// lookup. Process-wide: a write to any indexed definition makes every index step aside, which is
// never wrong and, since definitions are not changed after a load, practically never happens.
inline std::atomic<std::uint64_t> currentLookupGeneration{0};

inline std::uint64_t lookupGeneration() {
  return currentLookupGeneration.load(std::memory_order_relaxed);
}

inline void advanceLookupGeneration() {
  currentLookupGeneration.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace qv
