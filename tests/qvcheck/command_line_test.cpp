#include <gtest/gtest.h>

#include <sstream>

#include "qvparsersupport/common/version.h"
#include "tests/qvcheck/temporary_folder.h"
#include "tests/support/case_file.h"
#include "tests/support/readable_bytes.h"

namespace qv::test {
namespace {

// The arguments are given as on the command line; TREE stands for the folder of the sources.
TEST(CommandLine, answersWhatCannotBeRun) {
  expectAnswers("command-line/complaints.txt", [](const Case& input) {
    constexpr std::string_view kTree = QV_SOURCE_DIR;
    std::vector<std::string> arguments;
    std::istringstream words(input[0]);
    for (std::string word; words >> word;) {
      const std::size_t tree = word.find("TREE");
      if (tree != std::string::npos) word.replace(tree, 4, kTree);
      arguments.emplace_back(textOf(readableBytes(word)));
    }
    arguments.erase(arguments.begin());
    const Outcome outcome = runTool(arguments);
    EXPECT_EQ(outcome.out.empty(), outcome.exit != 3) << input[0];
    std::string complaint = outcome.err;
    const std::size_t tree = complaint.find(kTree);
    if (tree != std::string::npos) complaint.replace(tree, kTree.size(), "TREE");
    return std::to_string(outcome.exit) + "\n" + complaint;
  });
}

TEST(CommandLine, helpAndVersion) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"--help"}, {"traffic", "--help"}, {"profile", "check", "--help"}}) {
    const Outcome outcome = runTool(arguments);
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_NE(outcome.out.find("Examples:"), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.err, "");
  }
  const Outcome version = runTool({"--version"});
  EXPECT_EQ(version.exit, 0);
  EXPECT_TRUE(version.out.starts_with("qvcheck "));
  EXPECT_TRUE(version.out.ends_with(QVParserSupportVersionString));
}

TEST(CommandLine, colorOnlyWhereItIsWanted) {
  const TemporaryFolder folder;
  const std::string broken = folder.write("broken.xml", bytesOf("<a>"));
  struct Row {
    const char* color;
    bool terminal;
    bool colored;
  } const rows[] = {{"always", false, true}, {"never", true, false}, {"auto", false, false}};
  for (const Row& row : rows) {
    const Outcome outcome =
        runTool({"profile", "check", broken, "--color", row.color}, row.terminal);
    EXPECT_EQ(outcome.out.find('\x1B') != std::string::npos, row.colored) << row.color;
  }
}

}  // namespace
}  // namespace qv::test
