#include <gtest/gtest.h>

#include "qvparsersupport/common/version.h"
#include "tests/qvcheck/temporary_folder.h"

namespace qv::test {
namespace {

const std::string kPairing = QV_SOURCE_DIR "/tests/captures/traffic/pairing.xml";

TEST(CommandLine, wrongUsageIsExitTwoWithOneComplaint) {
  struct Row {
    std::vector<std::string> arguments;
    const char* complaint;
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
  };
  for (const Row& row : rows) {
    const Outcome outcome = runTool(row.arguments);
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, std::string("qvcheck: ") + row.complaint + "\nTry 'qvcheck --help'.\n");
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
  const std::vector<std::string> arguments[] = {
      {"profile", "check", "/nonexistent.xml"},
      {"traffic", "--profile", kPairing, "--request", "/nonexistent", "--response", kPairing},
      {"traffic", "--profile", "/", "--request", kPairing, "--response", kPairing},
  };
  for (const auto& row : arguments) {
    const Outcome outcome = runTool(row);
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_TRUE(outcome.err.starts_with("qvcheck: ")) << outcome.err;
  }
  EXPECT_EQ(runTool({"profile", "check", kPairing, "--output", "text=/nonexistent/x"}).err,
            "qvcheck: cannot write /nonexistent/x\n");
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
