#include "qvparsersupport/common/json_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "qvparsersupport/common/dictionary_lookup.h"
#include "qvparsersupport/common/json_writer.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv {
namespace {

// What a value is, or where the text is refused.
std::string outcomeOf(ByteView text) {
  const JSONParseResult result = parseJSON(text);
  if (!result.value) {
    const std::string place = " at byte " + std::to_string(result.errorOffset);
    EXPECT_THAT(result.error, testing::EndsWith(place));
    return "refused" + place;
  }
  const auto number = result.value->asNumber();
  if (!number) return jsonText(*result.value);
  return std::string{static_cast<char>(number->kind()), ' '} + number->text();
}

TEST(JSONReader, numbersHaveTheirKindAndRefusalsTheirPlace) {
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

TEST(JSONReader, refusesEveryPrefix) {
  const std::string texts[] = {
      R"({"a":[1,{"b":null},"\u00e9\ud83d\udca1\n"],"c\t":{"":-1.5e+3},"d":[true,false,[[]]]})",
      "[\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x92\xA1\",{\"\xC3\xA9\":18446744073709551615}]"};
  for (const std::string& text : texts) {
    ASSERT_TRUE(parseJSON(bytesOf(text)).value);
    for (std::size_t length = 0; length < text.size(); ++length) {
      const Bytes exact(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_EQ(outcomeOf(exact), "refused at byte " + std::to_string(length));
    }
  }
}

TEST(JSONReader, limitsDepthAndBytes) {
  const auto nested = [](std::string_view open, std::string_view close, std::size_t levels) {
    std::string text;
    for (std::size_t i = 0; i < levels; ++i) text += open;
    if (open.ends_with(':')) text += '0';
    for (std::size_t i = 0; i < levels; ++i) text += close;
    return text;
  };
  const auto accepted = [](const std::string& text, const JSONLimits& limits = {}) {
    return parseJSON(bytesOf(text), limits).value.has_value();
  };
  for (const auto& [open, close, levels] :
       {std::tuple{"[", "]", 1024}, {R"({"a":)", "}", 1024}, {R"([{"a":)", "}]", 512}}) {
    const auto limit = static_cast<std::size_t>(levels);
    EXPECT_TRUE(accepted(nested(open, close, limit))) << open;
    EXPECT_FALSE(accepted("[" + nested(open, close, limit) + "]")) << open;
    EXPECT_FALSE(accepted(nested(open, close, limit + 1), {.maximumDepth = 1'000'000})) << open;
    EXPECT_FALSE(accepted(nested(open, "", 1'000'000))) << open;
  }
  EXPECT_TRUE(accepted("[[0]]", {.maximumDepth = 2}));
  EXPECT_FALSE(accepted("[[[]]]", {.maximumDepth = 2}));
  EXPECT_TRUE(accepted("[{\"a\":1},[]]", {.maximumValues = 4}));
  EXPECT_EQ(parseJSON(bytesOf("[{\"a\":1},[]]"), {.maximumValues = 3}).error,
            "more values than the limit of 3 at byte 11");
  EXPECT_TRUE(accepted("0", {.maximumDepth = 0}));
  EXPECT_FALSE(accepted("[]", {.maximumDepth = 0}));
  EXPECT_TRUE(accepted("[12]", {.maximumBytes = 4}));
  EXPECT_EQ(parseJSON(bytesOf("[12] "), {.maximumBytes = 4}).error,
            "5 bytes are more than the limit of 4");
}

// Many keys of one object, all different or all the same, and keys that look alike to a quick look.
TEST(JSONReader, keysOfOneObject) {
  for (const std::size_t keys : {2U, 16U, 17U, 1'000'000U}) {
    std::string different = "{\"\":0";
    std::string same = different;
    for (std::size_t i = 1; i < keys; ++i) {
      different += ",\"a" + std::to_string(i % 10) + std::to_string(i) + "a\":" + std::to_string(i);
      same += ",\"\":" + std::to_string(i);
    }
    const JSONParseResult apart = parseJSON(bytesOf(different + "}"));
    EXPECT_FALSE(apart.hasRepeatedKeys);
    ASSERT_EQ(apart.value->count(), keys);
    EXPECT_EQ(apart.value->find("a11a"), Value(Number::int64(1)));
    EXPECT_EQ(apart.value->find("a1a"), std::nullopt);
    const JSONParseResult alike = parseJSON(bytesOf(same + "}"));
    EXPECT_TRUE(alike.hasRepeatedKeys);
    EXPECT_EQ(jsonText(*alike.value), "{\"\":" + std::to_string(keys - 1) + "}");
  }
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
