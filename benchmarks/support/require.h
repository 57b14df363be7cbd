#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace qv::bench {

// Ends the program: a figure of work that was not done is worth nothing.
inline void require(bool condition, std::string_view what) {
  if (condition) return;
  std::fprintf(stderr, "not as it must be: %.*s\n", static_cast<int>(what.size()), what.data());
  std::abort();
}

}  // namespace qv::bench
