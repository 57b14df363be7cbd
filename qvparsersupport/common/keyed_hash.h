#pragma once

#include <cstddef>
#include <string_view>

#include "qvparsersupport/common/export.h"

namespace qv {

// SipHash-1-3 (J.-P. Aumasson, D. J. Bernstein) under a key drawn once per process. Names and UUIDs
// of a profile are untrusted; with a fixed hash a few thousand chosen names make every insertion a
// walk over all of them. Nothing that a caller can see depends on the order of a table built with
// it.
QV_EXPORT std::size_t keyedHash(std::string_view text);

struct KeyedHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return keyedHash(text); }
};

}  // namespace qv
