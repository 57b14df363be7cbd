#include "qvparsersupport/common/text_readings.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv {
namespace {

TEST(TextReadings, neverFailAndSaturate) {
  test::expectAnswers("texts/readings.txt", [](const test::Case& input) {
    const std::string text(textOf(test::readableBytes(input[0] == "\"\"" ? "" : input[0])));
    const auto hexadecimal = hexadecimalReading(text);
    return fmt::format("{} {} {} {} {}", integerReading(text), doubleReading(text),
                       floatReading(text), booleanReading(text),
                       hexadecimal ? fmt::format("{:#x}", *hexadecimal) : "null");
  });
}

TEST(TextReadings, longNumbersAreReadByAllTheirDigits) {
  constexpr double kLargest = std::numeric_limits<double>::max();
  const std::string nines(400, '9');
  const std::string small = "0." + std::string(400, '0') + "1";
  EXPECT_EQ(doubleReading(nines), kLargest);
  EXPECT_EQ(doubleReading(nines + "e-10"), kLargest);
  EXPECT_EQ(doubleReading(nines + "e-400"), 1);
  EXPECT_EQ(doubleReading(small), 0);
  EXPECT_EQ(doubleReading(small + "e10"), 0);
  EXPECT_EQ(doubleReading(small + "e99999999999999999999"), kLargest);
}

}  // namespace
}  // namespace qv
