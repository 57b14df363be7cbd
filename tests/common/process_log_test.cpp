#include "qvparsersupport/common/process_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace qv {
namespace {

TEST(ProcessLog, sinkGetsLinesVerbatimAndItsExceptionsStayInside) {
  std::vector<std::string> lines;
  setProcessLogSink([&](std::string_view line) {
    lines.emplace_back(line);
    throw std::runtime_error("sink");
  });
  processLog("one\n\x1B[2J");
  processLog("two");
  setProcessLogSink({});
  EXPECT_THAT(lines, testing::ElementsAre("one\n\x1B[2J", "two"));
}

TEST(ProcessLog, defaultSinkWritesOneEscapedLine) {
  testing::internal::CaptureStderr();
  processLog("a\nb\x1B[1mc\xE2\x80\xAE\xFF");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "a\\x0ab\\x1b[1mc\\u{202E}\\xff\n");
}

}  // namespace
}  // namespace qv
