#include "qvparsersupport/common/json_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "qvparsersupport/common/dictionary_lookup.h"

namespace qv {
namespace {

TEST(JSONReader, numbersCarryTheirKind) {
  struct Row {
    std::string text;
    NumericKind kind;
    Number value;
  } const rows[] = {
      {"0", NumericKind::signedLongLong, Number::int64(0)},
      {"-9223372036854775808", NumericKind::signedLongLong, Number::int64(INT64_MIN)},
      {"18446744073709551615", NumericKind::unsignedLongLong, Number::uint64(UINT64_MAX)},
      {"18446744073709551616", NumericKind::doubleFloat, Number::float64(0x1p64)},
      {"1.0", NumericKind::doubleFloat, Number::float64(1)},
      {"1e2", NumericKind::doubleFloat, Number::float64(100)},
      {"0.1", NumericKind::doubleFloat, Number::float64(0.1)},
      {"9007199254740993.0", NumericKind::doubleFloat, Number::float64(9007199254740992.0)},
      {"1e-999", NumericKind::doubleFloat, Number::float64(0)},
      {"-0." + std::string(400, '0') + "1e10", NumericKind::doubleFloat, Number::float64(0)},
      {"true", NumericKind::signedChar, Number::int8(1)},
      {"false", NumericKind::signedChar, Number::int8(0)},
  };
  for (const Row& row : rows) {
    const JSONParseResult result = parseJSON(bytesOf(row.text));
    ASSERT_TRUE(result.value) << row.text << ": " << result.error;
    EXPECT_EQ(result.value->asNumber()->kind(), row.kind) << row.text;
    EXPECT_EQ(*result.value, Value(row.value)) << row.text;
  }
}

TEST(JSONReader, treesAndRepeatedKeys) {
  const JSONParseResult result = parseJSON(
      bytesOf(R"( {"a":[1,{"b":null},"\u00e9\n"],"c":{},"a":[],"long \u0041 key":"x"} )"));
  ASSERT_TRUE(result.value) << result.error;
  EXPECT_EQ(*result.value, Value::dictionary({{"a", Value::array({})},
                                              {"c", Value::dictionary({})},
                                              {"long A key", Value::string("x")}}));
  EXPECT_EQ(result.value->keyAt(0), "a");
  EXPECT_THAT(result.repeatedKeys, testing::ElementsAre("a"));
  const JSONParseResult inner = parseJSON(bytesOf(R"([1,{"b":null},"\u00e9\n\ud83d\udca1"])"));
  EXPECT_EQ(*inner.value, Value::array({Number::int64(1), Value::dictionary({{"b", Value()}}),
                                        Value::string("\xC3\xA9\n\xF0\x9F\x92\xA1")}));
}

TEST(JSONReader, refusesWithAPlace) {
  struct Row {
    std::string text;
    std::size_t offset;
  } const rows[] = {
      {"", 0},
      {"  ", 2},
      {"{", 1},
      {"[1,]", 3},
      {"{\"a\" 1}", 5},
      {"1 2", 2},
      {"nul", 3},
      {"01", 1},
      {"\"\\ud800\"", 8},
      {"\"\xC3\x28\"", 2},
      {"\"a\nb\"", 2},
      {"'a'", 0},
      {"1e999", 5},
      {"\xEF\xBB\xBF{}", 0},
      {"[1}", 2},
      {"1" + std::string(400, '0') + "e-10", 405},
  };
  for (const Row& row : rows) {
    const JSONParseResult result = parseJSON(bytesOf(row.text));
    EXPECT_FALSE(result.value) << row.text;
    EXPECT_THAT(result.error, testing::EndsWith(" at byte " + std::to_string(result.errorOffset)));
    EXPECT_NEAR(static_cast<double>(result.errorOffset), static_cast<double>(row.offset), 1)
        << row.text;
  }
}

TEST(JSONReader, limitsDepth) {
  auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(parseJSON(bytesOf(nested(1024))).value);
  EXPECT_FALSE(parseJSON(bytesOf(nested(1025))).value);
  EXPECT_FALSE(parseJSON(bytesOf(std::string(1'000'000, '['))).value);
}

TEST(DictionaryLookup, reportsAbsenceAndWrongType) {
  const Value dictionary = Value::dictionary(
      {{"list", Value::array({})}, {"n", Number::int64(5)}, {"s", Value::string("")}});
  struct Row {
    std::optional<Value> dictionary;
    const char* key;
    bool array, number;
    int arrayCode, numberCode;
  } const rows[] = {
      {dictionary, "list", true, false, 0, LookupError::kWrongType},
      {dictionary, "n", false, true, LookupError::kWrongType, 0},
      {dictionary, "s", false, false, LookupError::kWrongType, LookupError::kWrongType},
      {dictionary, "x", false, false, LookupError::kKeyAbsent, LookupError::kKeyAbsent},
      {std::nullopt, "x", false, false, 0, 0},
      {Value::string("x"), "x", false, false, 0, 0},
  };
  for (const Row& row : rows) {
    std::optional<LookupError> arrayError;
    std::optional<LookupError> numberError;
    EXPECT_EQ(arrayForKey(row.dictionary, row.key, arrayError).has_value(), row.array) << row.key;
    EXPECT_EQ(numberForKey(row.dictionary, row.key, numberError).has_value(), row.number)
        << row.key;
    EXPECT_EQ(arrayError ? arrayError->code : 0, row.arrayCode) << row.key;
    EXPECT_EQ(numberError ? numberError->code : 0, row.numberCode) << row.key;
  }
}

}  // namespace
}  // namespace qv
