#include "qvparsersupport/definitions/lookup_generation.h"

#include <atomic>

namespace qv {

namespace {

std::atomic<std::uint64_t> currentGeneration{0};

}  // namespace

std::uint64_t lookupGeneration() {
  return currentGeneration.load(std::memory_order_relaxed);
}

void advanceLookupGeneration() {
  currentGeneration.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace qv
