#include "tests/support/case_file.h"

#include <sstream>

#include "qvparsersupport/common/escape.h"
#include "tests/support/expectations.h"

namespace qv::test {

namespace {

constexpr const char* kFolder = QV_TESTS_DIR "/captures/";

}  // namespace

std::vector<Case> casesIn(const std::string& file) {
  std::vector<Case> cases(1);
  std::istringstream text(contentOf(kFolder + file));
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with('#') || line.starts_with("  ")) continue;
    if (!line.empty()) {
      cases.back().push_back(line);
    } else if (!cases.back().empty()) {
      cases.emplace_back();
    }
  }
  EXPECT_GT(cases.size(), 1U) << file;
  return cases;
}

void expectAnswers(const std::string& file,
                   const std::function<std::string(const Case& input)>& answer) {
  std::string actual;
  std::istringstream text(contentOf(kFolder + file));
  Case input;
  const auto close = [&] {
    std::istringstream lines(input.empty() ? "" : answer(input));
    for (std::string line; std::getline(lines, line);) {
      // A blank at the end is made visible.
      if (line.ends_with(' ')) line.replace(line.size() - 1, 1, "\\x20");
      actual += "  " + escaped(line) + "\n";
    }
    input.clear();
  };
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with("  ")) continue;
    if (line.empty()) close();
    if (!line.empty() && !line.starts_with('#')) input.push_back(line);
    actual += line + "\n";
  }
  close();
  EXPECT_FALSE(actual.empty()) << file;
  expectContent(kFolder + file, actual);
}

}  // namespace qv::test
