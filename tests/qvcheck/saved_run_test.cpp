#include <gtest/gtest.h>

#include <algorithm>

#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"
#include "tests/support/temporary_folder.h"

namespace qv::test {
namespace {

const std::string kSaved = QV_SOURCE_DIR "/tests/captures/traffic/json-faults/expected.ndjson";
const std::string kText = QV_SOURCE_DIR "/tests/captures/traffic/json-faults/expected.txt";

// Of a run that is cut behind any of its lines, or within the next, every whole record is kept.
TEST(SavedRuns, keepWhatIsWhole) {
  const TemporaryFolder folder;
  const std::string run = contentOf(kSaved);
  const std::size_t summary = run.rfind("{\"type\":\"summary\"");
  std::size_t line = 1;
  for (std::size_t end = run.find('\n') + 1; end <= summary;
       end = run.find('\n', end) + 1, ++line) {
    for (const std::size_t cut : {end, end + 20}) {
      const std::string file = folder.write("run", bytesOf(run.substr(0, cut)));
      const Outcome outcome = runTool({"report", "--output", "ndjson", file});
      EXPECT_EQ(outcome.exit, 3);
      EXPECT_EQ(outcome.err, "qvcheck: " + file + ": line " + std::to_string(line + 1) +
                                 (cut == end ? ": the run ends without its summary\n"
                                             : ": this is no JSON object\n"));
      EXPECT_EQ(outcome.out.substr(0, outcome.out.rfind("{\"type\":\"summary\"")),
                run.substr(0, end));
    }
  }
}

struct Change {
  const char* part;
  const char* by;
  const char* complaint;  // empty when the run can be read all the same
} const kChanges[] = {
    {R"("type":)", R"("unknown":[{"key":[[[[[[1]]]]]]}],"type":)", ""},
    {R"({"type":"input")", R"({"type":"another")", ""},
    {R"("qv.run/1")", R"("qv.run/2")", "line 1: its schema is 'qv.run/2', not qv.run/1"},
    {R"("type":"run")", R"("type":"profile")", "line 1: a saved run begins with its run record"},
    {R"("type":"profile")", R"("type":"run")", "line 2: another run begins"},
    {R"("accepted":true)", R"("accepted":1)", "line 2: the profile record is wrong at 'accepted'"},
    {R"("input":1)", R"("input":-1)", "line 3: the connection record is wrong at 'input'"},
    {R"("kind":"request")", R"("kind":"x")", "line 4: the message record is wrong at 'kind'"},
    {R"("options":{)", R"("options":{"x":{},)", "line 1: the run record is wrong at 'options'"},
    {R"("bytes_base64":")", R"("bytes_base64":"!)",
     "line 6: the finding record is wrong at 'bytes_base64'"},
    {R"("mark_offset":)", R"("mark_offset":9)",
     "line 6: the finding record is wrong at 'mark_offset'"},
};

class ChangedRuns : public testing::TestWithParam<Change> {};

TEST_P(ChangedRuns, areReadOrRefused) {
  const TemporaryFolder folder;
  const std::string run = replaced(contentOf(kSaved), GetParam().part, GetParam().by);
  ASSERT_NE(run, contentOf(kSaved));
  const std::string file = folder.write("run", bytesOf(run));
  const Outcome outcome = runTool({"report", file});
  const std::string complaint = GetParam().complaint;
  EXPECT_EQ(outcome.exit, complaint.empty() ? 1 : 3);
  EXPECT_EQ(outcome.err, complaint.empty() ? "" : "qvcheck: " + file + ": " + complaint + "\n");
  if (complaint.empty()) {
    EXPECT_EQ(outcome.out, contentOf(kText));
  }
}

INSTANTIATE_TEST_SUITE_P(Changes, ChangedRuns, testing::ValuesIn(kChanges));

// As a shell or a cluster joins the reports of many runs.
TEST(SavedRuns, areReadOneBehindTheOther) {
  const TemporaryFolder folder;
  const std::string cases = QV_SOURCE_DIR "/tests/captures/traffic/";
  const std::string clean = cases + "clean/expected.ndjson";
  const std::string joined =
      folder.write("joined", bytesOf(contentOf(clean) + contentOf(kSaved) + contentOf(kSaved)));
  const Outcome apart = runTool({"report", clean, kSaved, kSaved, "--output", "ndjson"});
  const Outcome together = runTool({"report", joined, "--output", "ndjson"});
  EXPECT_EQ(together.out, apart.out);
  EXPECT_EQ(together.exit, 1);
  const std::string spoilt = folder.write("spoilt", bytesOf(contentOf(clean) + "{}\n"));
  const Outcome outcome = runTool({"report", spoilt, "--output", "ndjson"});
  EXPECT_EQ(outcome.exit, 3);
  EXPECT_EQ(outcome.err,
            "qvcheck: " + spoilt + ": line 9: a saved run begins with its run record\n");
}

TEST(SavedRuns, areMergedByThePrecedenceOfTheirOutcomes) {
  const TemporaryFolder folder;
  const std::string cases = QV_SOURCE_DIR "/tests/captures/traffic/";
  const auto run = [&](const char* name) { return cases + name + "/expected.ndjson"; };
  const std::string file = folder.path("merged");
  EXPECT_EQ(runTool({"report", run("clean"), run("nothing"), "-o", file}).exit, 0);
  EXPECT_EQ(runTool({"report", run("nothing"), run("nothing"), "-o", file}).exit, 5);
  EXPECT_EQ(runTool({"report", run("clean"), run("json-faults"), "-o", file}).exit, 1);
  EXPECT_EQ(runTool({"report", run("json-faults"), run("swapped"), "-o", file}).exit, 3);
  EXPECT_EQ(runTool({"report", folder.path("missing"), run("clean"), "-o", file}).exit, 3);
  EXPECT_EQ(runTool({"report", run("clean"), "-o", run("clean")}).exit, 2);
}

}  // namespace
}  // namespace qv::test
