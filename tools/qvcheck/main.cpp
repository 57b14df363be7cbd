#include <unistd.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <iostream>

#include "tools/qvcheck/qvcheck.h"

namespace {

// What one message took is kept for the next: giving it back to the system and fetching it again
// costs a fifth of the time of attribute databases.
void keepFreedMemory() {
#if defined(__GLIBC__)
  constexpr int kKeptBytes = 16 << 20;
  mallopt(M_TRIM_THRESHOLD, kKeptBytes);
  mallopt(M_MMAP_THRESHOLD, kKeptBytes);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  keepFreedMemory();
  std::ios::sync_with_stdio(false);
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  return qv::check::runQvcheck(arguments, std::cout, std::cerr, isatty(STDOUT_FILENO) == 1,
                               isatty(STDERR_FILENO) == 1);
}
