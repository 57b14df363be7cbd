// What is made out of profiles. awkward.xml holds names and values that fit neither C++ nor HTML;
// that the headers compile without a warning and hold what they should is shown by
// profile_constants.cpp.

#include <gtest/gtest.h>

#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"
#include "tests/support/temporary_folder.h"
#include "tools/qvcheck/source_names.h"

namespace qv::test {
namespace {

const std::string kFolder = QV_SOURCE_DIR "/tests/captures/profiles/";
const std::string kAwkward = kFolder + "awkward.xml";

TEST(ProfileHeader, mendsWhatIsNoNameAndSaysSo) {
  const Outcome outcome = runTool({"profile", "header", kAwkward});
  EXPECT_EQ(outcome.exit, 0);
  expectContent(kFolder + "awkward-header.txt", outcome.out);
  expectContent(kFolder + "awkward-remarks.txt", outcome.err);
}

// Each case is the names of one scope in their order; the answer is what they become.
TEST(ProfileHeader, namesAreValidAndUnique) {
  expectAnswers("profiles/names.txt", [](const Case& input) {
    check::NameScope scope({"kName"});
    std::string answer;
    for (const std::string& symbol : input) {
      const check::SourceName name = scope.take(symbol);
      answer += name.identifier + (name.reason.empty() ? "" : " (" + name.reason + ")") + "\n";
    }
    return answer;
  });
}

// Without style and script, which say nothing about the profile.
TEST(ProfilePage, tellsEverythingAndEscapesIt) {
  const Outcome outcome = runTool({"profile", "doc", kAwkward});
  EXPECT_EQ(outcome.exit, 0);
  EXPECT_EQ(outcome.err, "");
  std::string page = outcome.out;
  for (const std::string& tag : {std::string("style"), std::string("script")}) {
    const std::size_t start = page.find("<" + tag + ">");
    const std::string end = "</" + tag + ">\n";
    page.erase(start, page.find(end, start) + end.size() - start);
  }
  expectContent(kFolder + "awkward-page.txt", page);
}

TEST(ProfileOutput, isWrittenOnlyWhenTheProfileIsAccepted) {
  const TemporaryFolder folder;
  const std::string broken = folder.write("broken.xml", bytesOf("<a>"));
  const std::string output = folder.path("out");
  for (const char* command : {"header", "doc"}) {
    const Outcome outcome = runTool({"profile", command, broken, "-o", output});
    EXPECT_EQ(outcome.exit, 4) << command;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(replaced(outcome.err, folder.path(""), ""),
              "broken.xml:1:4: error[profile.xml]: no element found\n");
    EXPECT_FALSE(std::filesystem::exists(output)) << command;
  }
}

}  // namespace
}  // namespace qv::test
