#include "tests/support/expectations.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "qvparsersupport/common/escape.h"

namespace qv::test {

namespace {

constexpr const char* kFolder = QV_TESTS_DIR "/captures/";

// The file with these answers in the place of those that it holds.
std::string withAnswers(const std::string& file, const Answer& answer) {
  std::string result;
  std::istringstream text(contentOf(kFolder + file));
  Case input;
  const auto close = [&] {
    std::istringstream lines(input.empty() ? "" : answer(input));
    for (std::string line; std::getline(lines, line);) {
      // A blank at the end is made visible.
      if (line.ends_with(' ')) line.replace(line.size() - 1, 1, "\\x20");
      result += "  " + escaped(line) + "\n";
    }
    input.clear();
  };
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with("  ")) continue;
    if (line.empty()) close();
    if (!line.empty() && !line.starts_with('#')) input.push_back(line);
    result += line + "\n";
  }
  close();
  EXPECT_FALSE(result.empty()) << file;
  return result;
}

}  // namespace

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void expectContent(const std::string& path, const std::string& actual) {
  if (std::getenv("QV_RENEW_EXPECTATIONS") != nullptr) {
    std::ofstream(path, std::ios::binary) << actual;
  } else {
    EXPECT_EQ(actual, contentOf(path)) << path;
  }
}

std::vector<Case> casesIn(const std::string& file) {
  std::vector<Case> cases;
  withAnswers(file, [&](const Case& input) {
    cases.push_back(input);
    return "";
  });
  EXPECT_FALSE(cases.empty()) << file;
  return cases;
}

void expectAnswers(const std::string& file, const Answer& answer) {
  expectContent(kFolder + file, withAnswers(file, answer));
}

}  // namespace qv::test
