#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "qvparsersupport/common/bytes.h"

// What one run of a target does with its input; the target's entry point.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace qv::fuzz {

// Built with a planted fault, a target's oracle is shown a wrong result on one reachable condition,
// which proves that the target gets there and that its oracle looks.
#ifdef QV_PLANTED_FAULT
inline constexpr bool kPlantedFault = true;
#else
inline constexpr bool kPlantedFault = false;
#endif

inline bool& plantedFaultShown() {
  static bool shown = false;
  return shown;
}

// True when the planted fault is to be shown now.
inline bool planted(bool condition) {
  if (!kPlantedFault || !condition) return false;
  plantedFaultShown() = true;
  return true;
}

// Ends the run as a find when the oracle's statement does not hold.
inline void expect(bool holds, const char* statement) {
  if (holds) return;
  std::fprintf(stderr, "does not hold%s: %s\n", plantedFaultShown() ? " (planted fault)" : "",
               statement);
  std::abort();
}

}  // namespace qv::fuzz
