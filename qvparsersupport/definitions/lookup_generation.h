#pragma once

// Internal. Tells an index over definitions whether somebody wrote to one of them since.

#include <cstdint>

namespace qv {

// Grows whenever something is written to an indexed definition that could change the answer of a
// lookup. Process-wide: a write to any indexed definition makes every index step aside, which is
// never wrong and, since definitions are not changed after a load, practically never happens.
std::uint64_t lookupGeneration();
void advanceLookupGeneration();

}  // namespace qv
