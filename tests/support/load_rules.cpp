#include "tests/support/load_rules.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace qv::test {

std::vector<LoadRules> loadRulesIn(const std::string& path) {
  std::ifstream file(std::string(QV_TESTS_DIR "/") + path);
  const auto check = [&](bool isFine) {
    if (isFine) return;
    std::fprintf(stderr, "no table of load rules: %s\n", path.c_str());
    std::abort();
  };
  std::vector<LoadRules> tests;
  const auto isComplete = [&] {
    return !tests.empty() && !tests.back().rows.empty() &&
           !tests.back().rows.back().expected.empty();
  };
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    if (line.starts_with("== ")) {
      check(tests.empty() || isComplete());
      tests.emplace_back();
      std::istringstream(line.substr(3)) >> tests.back().subject >> tests.back().name;
    } else if (line.starts_with("  ")) {
      check(!tests.empty() && !tests.back().rows.empty());
      std::string& expected = tests.back().rows.back().expected;
      expected += (expected.empty() ? "" : "\n") + line.substr(2);
    } else {
      check(!tests.empty() && (tests.back().rows.empty() || isComplete()));
      tests.back().rows.push_back({line, ""});
    }
  }
  check(isComplete());
  return tests;
}

}  // namespace qv::test
