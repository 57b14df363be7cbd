#include "qvparsersupport/common/json_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "qvparsersupport/common/dictionary_lookup.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv {
namespace {

// What a number is, or where the text is refused.
std::string outcomeOf(ByteView text) {
  const JSONParseResult result = parseJSON(text);
  if (!result.value) {
    const std::string place = " at byte " + std::to_string(result.errorOffset);
    EXPECT_THAT(result.error, testing::EndsWith(place));
    return "refused" + place;
  }
  const Number number = result.value->asNumber().value();
  return std::string{static_cast<char>(number.kind()), ' '} + number.text();
}

TEST(JSONReader, numbersCarryTheirKindAndRefusalsTheirPlace) {
  test::expectAnswers("texts/json.txt", [](const test::Case& input) {
    return outcomeOf(test::readableBytes(input[0] == "\"\"" ? "" : input[0]));
  });
  const std::string zeros(400, '0');
  EXPECT_EQ(outcomeOf(bytesOf("-0." + zeros + "1e10")), "d -0");
  EXPECT_EQ(outcomeOf(bytesOf("1" + zeros + "e-10")), "refused at byte 405");
}

TEST(JSONReader, treesAndRepeatedKeys) {
  const JSONParseResult result = parseJSON(
      bytesOf(R"( {"a":[1,{"b":null},"\u00e9\n"],"c":{},"a":[],"long \u0041 key":"x"} )"));
  ASSERT_TRUE(result.value) << result.error;
  EXPECT_EQ(*result.value, Value::dictionary({{"a", Value::array({})},
                                              {"c", Value::dictionary({})},
                                              {"long A key", Value::string("x")}}));
  EXPECT_EQ(result.value->keyAt(0), "a");
  EXPECT_TRUE(result.hasRepeatedKeys);
  const JSONParseResult inner = parseJSON(bytesOf(R"([1,{"b":null},"\u00e9\n\ud83d\udca1"])"));
  EXPECT_EQ(*inner.value, Value::array({Number::int64(1), Value::dictionary({{"b", Value()}}),
                                        Value::string("\xC3\xA9\n\xF0\x9F\x92\xA1")}));
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
