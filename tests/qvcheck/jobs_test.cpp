#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"
#include "tests/support/temporary_folder.h"
#include "tools/qvcheck/input_workers.h"
#include "tools/qvcheck/ndjson_report.h"

namespace qv::test {
namespace {

using check::ExitCode;
using check::Report;

// Good, faulty, missing, damaged and cut inputs of every form.
std::vector<std::string> mixedInputs(const TemporaryFolder& folder) {
  const std::string captures = QV_SOURCE_DIR "/examples/captures/";
  return {"--profile",
          QV_SOURCE_DIR "/examples/profiles/household.xml",
          "--request",
          captures + "household-clean.req",
          "--response",
          captures + "household-clean.rsp",
          folder.write("cut", bytesOf("GET /accessories HTTP/1.1\r\nHo")),
          captures + "packets/household-clean-lossy.pcapng",
          folder.path("missing"),
          captures + "household.har",
          folder.write("text", bytesOf("no capture")),
          captures + "packets/pairing-faulty-lossy.pcap.gz",
          captures + "packets/household-access-faulty-lossy.pcap",
          captures + "packets/household-clean-snapped.pcap"};
}

class Jobs : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(Jobs, changeNothingInTheReport) {
  const TemporaryFolder folder;
  std::vector<std::string> arguments = {"traffic", "--output", "text", "--output",
                                        "ndjson=" + folder.path("run.ndjson")};
  for (const auto& list : {GetParam(), mixedInputs(folder)}) {
    arguments.insert(arguments.end(), list.begin(), list.end());
  }
  const Outcome alone = runTool(arguments);
  const std::string records = contentOf(folder.path("run.ndjson"));
  EXPECT_NE(records, "");
  const Outcome saved = runTool({"report", folder.path("run.ndjson")});
  EXPECT_EQ(saved.out, alone.out);
  EXPECT_EQ(saved.exit, alone.exit);
  for (const char* jobs : {"2", "4", "99"}) {
    std::vector<std::string> several = arguments;
    several.insert(several.end(), {"--jobs", jobs});
    const Outcome outcome = runTool(several);
    EXPECT_EQ(outcome.exit, alone.exit);
    EXPECT_EQ(outcome.out, alone.out);
    EXPECT_EQ(outcome.err, alone.err);
    EXPECT_EQ(contentOf(folder.path("run.ndjson")), records);
  }
}

INSTANTIATE_TEST_SUITE_P(Options, Jobs,
                         testing::Values(std::vector<std::string>{},
                                         std::vector<std::string>{"--fail-fast"},
                                         std::vector<std::string>{"--max-findings", "40"},
                                         std::vector<std::string>{"--ignore", "json"}));

// What a run over these five inputs reports: the second worker dies, the fourth fails.
TEST(InputWorkers, keepWhatOthersFoundWhenOneDies) {
  const check::WorkerTask task = {
      5,
      {},
      check::Severity::error,
      [](std::size_t index, Report& report, std::ostream& err) {
        check::MessageRecord message;
        message.message = report.nextMessage();
        message.direction = "to_accessory";
        message.kind = "request";
        message.method = std::to_string(index);
        report.message(message);
        if (index == 1) std::raise(SIGKILL);
        if (index == 3) throw std::runtime_error("no way");
        err << "said by " << index << '\n';
        return true;
      },
      [](std::size_t index) { return "input " + std::to_string(index); },
      [](std::size_t index, const std::string& text, Report& report) {
        check::InputRecord input;
        input.name = std::to_string(index);
        input.lost = {text};
        report.input(input);
      }};
  std::ostringstream out;
  std::ostringstream err;
  check::NDJSONReport sink(out);
  Report report({&sink}, task.failOn);
  runInWorkers(task, 2, report, err);
  EXPECT_EQ(report.finish(true), static_cast<int>(ExitCode::toolFault));
  EXPECT_EQ(err.str(),
            "said by 0\n"
            "qvcheck: input 1: its worker ended before the input did (signal 9)\n"
            "said by 2\n"
            "qvcheck: input 3: fault of the tool itself: no way\n"
            "said by 4\n");
  std::string lost;
  std::istringstream lines(out.str());
  for (std::string line; std::getline(lines, line);) {
    const auto record = nlohmann::json::parse(line);
    if (record["type"] == "input")
      lost += record["name"].get<std::string>() + record["lost"].dump();
  }
  EXPECT_EQ(lost,
            "1[\"its worker ended before the input did (signal 9)\"]"
            "3[\"fault of the tool itself: no way\"]");
  EXPECT_EQ(report.account().messages, 4U);  // that of the killed one was not written yet
  EXPECT_FALSE(report.account().complete);
}

}  // namespace
}  // namespace qv::test
