#include <gtest/gtest.h>

#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"

namespace qv::test {
namespace {

TEST(ValueCommand, convertsAndChecks) {
  expectAnswers("profiles/values.txt", [](const Case& input) {
    std::vector<std::string> words;
    std::string rest = input[0];
    for (std::size_t bar; (bar = rest.find(" | ")) != std::string::npos; rest.erase(0, bar + 3)) {
      words.push_back(rest.substr(0, bar));
    }
    const Outcome outcome =
        runTool({"value", words.at(0), "--profile", QV_SOURCE_DIR "/examples/profiles/lamp.xml",
                 "--profile", QV_SOURCE_DIR "/examples/profiles/household.xml", "--transport",
                 words.at(1), "--ref", words.at(2), rest});
    return std::to_string(outcome.exit) + "\n" + outcome.out + outcome.err;
  });
}

}  // namespace
}  // namespace qv::test
