#include <gtest/gtest.h>

#include "qvparsersupport/common/version.h"
#include "tests/qvcheck/temporary_folder.h"

namespace qv::test {
namespace {

const std::string kPairing = QV_SOURCE_DIR "/tests/captures/traffic/pairing.xml";

TEST(CommandLine, wrongUsageIsExitTwoWithOneComplaint) {
  struct Row {
    std::vector<std::string> arguments;
    std::string complaint;
  } const rows[] = {
      {{}, "A subcommand is required"},
      {{"frobnicate"}, "A subcommand is required"},
      {{"traffic", "--request", "a", "--response", "b"}, "--profile is required"},
      {{"traffic", "--profile", "p", "--request", "a"}, "--response is required"},
      {{"profile"}, "A subcommand is required"},
      {{"profile", "check"}, "FILE is required"},
      {{"profile", "check", "p", "--output", "html"},
       "--output: 'html' is not a form; there are text and ndjson"},
      {{"profile", "check", "p", "--output", "text="}, "--output: no file name after 'text='"},
      {{"profile", "check", "p", "--output", "text", "--output", "ndjson"},
       "--output: two reports would go to standard output"},
      {{"profile", "check", "p", "--output", "ndjson", "--quiet"},
       "--quiet has no effect without --output text"},
      {{"profile", "check", "p", "--output", "ndjson", "--color", "never"},
       "--color has no effect without --output text"},
      {{"profile", "check", "p", "--quiet", "--color", "always"},
       "--color has no effect with --quiet"},
      {{"profile", "check", "p", "--fail-on", "fatal"},
       "--fail-on: fatal not in {error,warning,note,never}"},
      {{"traffic", "--max-message-size", "0"},
       "--max-message-size: '0' is not a number of bytes above 0"},
      {{"profile", "check", "p\x1B", "--output", "ndjson=p\x1B"},
       "--output: the report would overwrite p\\x1b"},
      {{"traffic", "--profile", "p", "--request", kPairing, "--response", "s", "--output",
        "text=" + std::string(QV_SOURCE_DIR) + "/tests/captures/../captures/traffic/pairing.xml"},
       "--output: the report would overwrite " + kPairing},
  };
  for (const Row& row : rows) {
    const Outcome outcome = runTool(row.arguments);
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "qvcheck: " + row.complaint + "\nTry 'qvcheck --help'.\n");
  }
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

TEST(CommandLine, unreadableFilesAreExitThree) {
  const struct {
    std::vector<std::string> arguments;
    const char* complaints;
  } rows[] = {
      {{"profile", "check", "/none\x1B.xml"},
       "qvcheck: /none\\x1b.xml: No such file or directory\n"},
      {{"traffic", "--profile", kPairing, "--request", "/none", "--response", "/no"},
       "qvcheck: /none: No such file or directory\nqvcheck: /no: No such file or directory\n"},
      {{"traffic", "--profile", kPairing, "--request", kPairing, "--response", "/"},
       "qvcheck: /: Is a directory\n"},
      {{"traffic", "--profile", "/", "--request", kPairing, "--response", kPairing},
       "qvcheck: /: Is a directory\n"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = runTool(row.arguments);
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_EQ(outcome.err, row.complaints);
  }
}

TEST(CommandLine, saysWhenTheReportCannotBeWritten) {
  const Outcome unopened =
      runTool({"profile", "check", kPairing, "--output", "text=/nonexistent/x"});
  EXPECT_EQ(unopened.exit, 2);
  EXPECT_EQ(unopened.err, "qvcheck: cannot write /nonexistent/x\n");
  const Outcome full = runTool({"profile", "check", kPairing, "--output", "text=/dev/full"});
  EXPECT_EQ(full.exit, 70);
  EXPECT_EQ(full.err, "qvcheck: the report could not be written whole\n");
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
