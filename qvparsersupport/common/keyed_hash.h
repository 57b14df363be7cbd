#pragma once

#include <cstddef>
#include <string_view>

#include "qvparsersupport/common/export.h"

namespace qv {

// A hash under a key drawn once per process. Names and UUIDs of a profile are untrusted; with a
// fixed hash a few thousand chosen names make every insertion a walk over all of them. The text is
// folded sixteen bytes at a time through 64 by 64 bit multiplications whose operands the key masks,
// so whoever does not know the key cannot choose texts that collide. Nothing that a caller can see
// depends on the order of a table built with it.
QV_EXPORT std::size_t keyedHash(std::string_view text);

}  // namespace qv
