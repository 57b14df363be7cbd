// Each folder under tests/captures/traffic is a case: two streams in readable form, or the file
// `input` of another form, and beside them the whole report in both forms.
// scripts/renew-expectations writes the reports anew, on purpose, so that a change of them is a
// difference to review.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"
#include "tests/support/temporary_folder.h"
#include "tools/qvcheck/tool_rules.h"

namespace qv::test {
namespace {

const std::string kCases = QV_SOURCE_DIR "/tests/captures/traffic";

struct Folder {
  const char* name;
  int exit;
} const kAllCases[] = {
    {"clean", 0},      {"field-faults", 1}, {"response-rules", 1}, {"not-judged", 3},
    {"damaged", 3},    {"stray-bytes", 3},  {"nothing", 5},        {"framing", 1},
    {"json-clean", 0}, {"json-faults", 1},  {"json-keys", 0},      {"swapped", 3},
    {"unanswered", 0}, {"archive", 3},      {"records", 3},        {"one-direction", 1},
};

class Traffic : public testing::TestWithParam<Folder> {};

TEST_P(Traffic, reportsAsExpected) {
  const std::string source = kCases + "/" + GetParam().name;
  const TemporaryFolder folder;
  std::vector<std::string> inputs = {
      "--profile", folder.write("pairing.xml", bytesOf(contentOf(kCases + "/pairing.xml")))};
  if (std::filesystem::exists(source + "/input")) {
    inputs.push_back(folder.write("input", bytesOf(contentOf(source + "/input"))));
  } else {
    for (const std::string name : {"request", "response"}) {
      inputs.push_back("--" + name);
      inputs.push_back(folder.write(name, readableBytes(contentOf(source + "/" + name))));
    }
  }
  std::vector<std::string> arguments = {"traffic", "--output", "text", "--output",
                                        "ndjson=" + folder.path("run.ndjson")};
  arguments.insert(arguments.end(), inputs.begin(), inputs.end());
  const Outcome outcome = runTool(arguments);
  EXPECT_EQ(outcome.exit, GetParam().exit);
  EXPECT_EQ(outcome.err, "");
  expectContent(source + "/expected.txt", replaced(outcome.out, folder.path(""), ""));
  expectContent(source + "/expected.ndjson",
                replaced(contentOf(folder.path("run.ndjson")), folder.path(""), ""));

  const std::string saved = folder.path("run.ndjson");
  const Outcome again = runTool(
      {"report", "--output", "text", "--output", "ndjson=" + folder.path("again.ndjson"), saved});
  EXPECT_EQ(again.exit, outcome.exit);
  EXPECT_EQ(again.err, "");
  EXPECT_EQ(again.out, outcome.out);
  EXPECT_EQ(contentOf(folder.path("again.ndjson")), contentOf(saved));

  arguments = {"show"};
  arguments.insert(arguments.end(), inputs.begin(), inputs.end());
  const Outcome shown = runTool(arguments);
  EXPECT_EQ(shown.err, "");
  expectContent(source + "/shown.txt", replaced(shown.out, folder.path(""), "") + "exit " +
                                           std::to_string(shown.exit) + "\n");
}

// Both forms and the exit code say the same.
TEST_P(Traffic, formsAgree) {
  const std::string source = kCases + "/" + GetParam().name;
  std::istringstream lines(contentOf(source + "/expected.ndjson"));
  const std::string text = contentOf(source + "/expected.txt");
  std::map<std::string, std::size_t> counts;
  std::string line;
  nlohmann::json last;
  while (std::getline(lines, line)) {
    last = nlohmann::json::parse(line);
    ++counts[last["type"]];
    if (last["type"] == "finding") {
      const auto rule = last["rule"].get<std::string>();
      EXPECT_NE(text.find(rule + "]: "), std::string::npos) << line;
      const QVRule* known = last["origin"] == "tool" ? check::anyRuleWithID(rule)
                                                     : ruleForText(last["text"].get<std::string>());
      EXPECT_TRUE(known != nullptr && known->id == rule) << line;
    }
  }
  EXPECT_EQ(last["type"], "summary");
  EXPECT_EQ(last["exit"], GetParam().exit);
  EXPECT_EQ(last["messages"], counts["message"]);
  std::size_t findings = 0;
  for (const auto& [rule, count] : last["findings"].items()) findings += count.get<std::size_t>();
  EXPECT_EQ(findings, counts["finding"]);
  EXPECT_EQ(text.find('\x1B'), std::string::npos);
}

std::string testName(const testing::TestParamInfo<Folder>& row) {
  std::string name = row.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, Traffic, testing::ValuesIn(kAllCases), testName);

TEST(TrafficCases, everyFolderIsListed) {
  std::set<std::string> listed;
  for (const Folder& row : kAllCases) listed.insert(row.name);
  std::set<std::string> folders;
  for (const auto& entry : std::filesystem::directory_iterator(kCases)) {
    if (entry.is_directory()) folders.insert(entry.path().filename().string());
  }
  EXPECT_EQ(folders, listed);
}

}  // namespace
}  // namespace qv::test
