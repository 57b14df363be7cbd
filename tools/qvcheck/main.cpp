#include <unistd.h>

#include <iostream>

#include "tools/qvcheck/qvcheck.h"

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  return qv::check::runQvcheck(arguments, std::cout, std::cerr, isatty(STDOUT_FILENO) == 1);
}
