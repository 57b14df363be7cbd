#include <gtest/gtest.h>

#include <sstream>

#include "qvparsersupport/common/version.h"
#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"
#include "tests/support/temporary_folder.h"

namespace qv::test {
namespace {

// The arguments are given as on the command line; TREE stands for the folder of the sources.
TEST(CommandLine, answersWhatCannotBeRun) {
  expectAnswers("command-line/complaints.txt", [](const Case& input) {
    std::vector<std::string> arguments;
    std::istringstream words(input[0]);
    for (std::string word; words >> word;) {
      arguments.emplace_back(textOf(readableBytes(replaced(word, "TREE", QV_SOURCE_DIR))));
    }
    arguments.erase(arguments.begin());
    const Outcome outcome = runTool(arguments);
    EXPECT_EQ(outcome.out.empty(), outcome.exit != 3) << input[0];
    return std::to_string(outcome.exit) + "\n" + replaced(outcome.err, QV_SOURCE_DIR, "TREE");
  });
}

TEST(CommandLine, limitsWhatIsPrinted) {
  expectAnswers("command-line/limits.txt", [](const Case& input) {
    const std::string samples = QV_SOURCE_DIR "/examples/captures/household-access-faulty";
    const std::string faulty = "--profile " QV_SOURCE_DIR
                               "/examples/profiles/household.xml --request " +
                               samples + ".req --response " + samples + ".rsp";
    std::istringstream words(
        replaced(replaced(input[0], "$FAULTY", faulty), "TREE", QV_SOURCE_DIR));
    std::vector<std::string> arguments;
    for (std::string word; words >> word;) arguments.push_back(word);
    arguments.erase(arguments.begin());
    const Outcome outcome = runTool(arguments);
    EXPECT_EQ(outcome.err, "");
    const std::size_t end = outcome.out.rfind("\n\n");
    const std::string last = end == std::string::npos ? outcome.out : outcome.out.substr(end + 2);
    return std::to_string(outcome.exit) + "\n" + replaced(last, QV_SOURCE_DIR, "TREE");
  });
}

TEST(CommandLine, helpAndVersion) {
  for (const char* command : {"", "traffic", "show", "report", "profile", "profile check",
                              "profile header", "profile doc", "profile archive", "value",
                              "value encode", "value decode", "rules", "explain"}) {
    std::istringstream words(std::string(command) + " --help");
    const Outcome outcome = runTool({std::istream_iterator<std::string>(words), {}});
    EXPECT_EQ(outcome.exit, 0);
    // The first example is one of the command itself.
    const std::string example = std::string("Examples:\n  qvcheck ") + command;
    const bool isBoth = std::string_view(command) == "value decode";
    EXPECT_NE(outcome.out.find(isBoth ? "  qvcheck value decode" : example), std::string::npos)
        << outcome.out;
    EXPECT_EQ(outcome.err, "");
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
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
