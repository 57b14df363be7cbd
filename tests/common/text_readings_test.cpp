#include "qvparsersupport/common/text_readings.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace qv {
namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

TEST(TextReadings, integer) {
  struct Row {
    const char* text;
    std::int64_t value;
  } const rows[] = {
      {"", 0},
      {"12", 12},
      {" \t\n-7", -7},
      {"+5x", 5},
      {"--5", 0},
      {"- 5", 0},
      {"1.9", 1},
      {"0x10", 0},
      {"abc", 0},
      {"9223372036854775807", kMax},
      {"9223372036854775808", kMax},
      {"-9223372036854775808", kMin},
      {"-9223372036854775809", kMin},
      {"99999999999999999999999999", kMax},
      {"00000000000000000000000000012", 12},
  };
  for (const Row& row : rows) EXPECT_EQ(integerReading(row.text), row.value) << row.text;
}

TEST(TextReadings, floating) {
  constexpr double kLargest = std::numeric_limits<double>::max();
  struct Row {
    std::string text;
    double value;
  } const rows[] = {
      {"", 0},
      {" 1.5 ", 1.5},
      {"-.5", -0.5},
      {"5.", 5},
      {"1e3", 1000},
      {"1e", 1},
      {"1e+", 1},
      {"+2.5abc", 2.5},
      {".", 0},
      {"e5", 0},
      {"inf", 0},
      {"nan", 0},
      {"0x10", 0},
      {"1,5", 1},
      {"1e999", kLargest},
      {"-1e999", -kLargest},
      {"1e-999", 0},
      {"0e99999", 0},
      {std::string(400, '9'), kLargest},
      {"0." + std::string(400, '0') + "1", 0},
      {std::string(400, '9') + "e-10", kLargest},
      {std::string(400, '9') + "e-400", 1},
      {"0." + std::string(400, '0') + "1e10", 0},
      {"0." + std::string(400, '0') + "1e99999999999999999999", kLargest},
  };
  for (const Row& row : rows) EXPECT_EQ(doubleReading(row.text), row.value) << row.text;
  EXPECT_EQ(floatReading("0.1"), 0.1F);
  EXPECT_EQ(floatReading("1e39"), std::numeric_limits<float>::max());
}

TEST(TextReadings, boolean) {
  for (const char* text : {"YES", "y", "True", "t", "1", " +-007", "9"}) {
    EXPECT_TRUE(booleanReading(text)) << text;
  }
  for (const char* text : {"", "NO", "false", "0", "-0", "x1", "00n"}) {
    EXPECT_FALSE(booleanReading(text)) << text;
  }
}

TEST(TextReadings, hexadecimal) {
  struct Row {
    const char* text;
    std::optional<std::uint32_t> value;
  } const rows[] = {
      {"0x0A", 10U}, {"0x1G", 1U},       {"0xZZ", std::nullopt}, {"0x", std::nullopt},
      {"fF", 255U},  {"", std::nullopt}, {"0x-1", std::nullopt}, {"0xFFFFFFFFF", 0xFFFFFFFFU},
  };
  for (const Row& row : rows) EXPECT_EQ(hexadecimalReading(row.text), row.value) << row.text;
}

}  // namespace
}  // namespace qv
