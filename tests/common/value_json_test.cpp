#include "qvparsersupport/common/value_json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_writer.h"

namespace qv {
namespace {

struct Packet : ValueObject {};

// The value that a text holds, or why there is none.
std::string readBack(std::string_view text, Value& value) {
  std::optional<std::string> error;
  const auto read = valueOfJSONForm(parseJSON(bytesOf(text)).value.value(), &error);
  value = read.value_or(Value());
  return error.value_or("");
}

TEST(ValueJSON, everyValueComesBackWithItsKinds) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::uint8_t bytes[] = {0, 255, 16};
  const Value odd = Value::dictionary({{"$kind", Value::string("int8")}, {"value", Value()}});
  std::vector<Value::Entry> many;
  for (int i = 0; i < 20; ++i) many.emplace_back("k" + std::to_string(i), Number::int32(i));
  const std::pair<Value, const char*> rows[] = {
      {Value(), "null"},
      {Number::boolean(true), "true"},
      {Number::int8(2), R"({"$kind":"int8","value":2})"},
      {Number::int16(-1), R"({"$kind":"int16","value":-1})"},
      {Number::int32(1), R"({"$kind":"int32","value":1})"},
      {Number::signedLong(-9), R"({"$kind":"long","value":-9})"},
      {Number::int64(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
      {Number::uint8(255), R"({"$kind":"uint8","value":255})"},
      {Number::uint16(0), R"({"$kind":"uint16","value":0})"},
      {Number::uint32(1), R"({"$kind":"uint32","value":1})"},
      {Number::uint64(1), R"({"$kind":"uint64","value":1})"},
      {Number::uint64(9223372036854775808U), "9223372036854775808"},
      {Number::unsignedLong(18446744073709551615U),
       R"({"$kind":"ulong","value":18446744073709551615})"},
      {Number::float32(0.1F), R"({"$kind":"float","value":0.10000000149011612})"},
      {Number::float32(-std::numeric_limits<float>::infinity()),
       R"({"$kind":"float","value":"-Infinity"})"},
      {Number::float64(-0.0), "-0.0"},
      {Number::float64(1e300), "1e+300"},
      {Number::float64(kInfinity), R"({"$kind":"double","value":"Infinity"})"},
      {Value::string("\xC3\xA9\n"), "\"\xC3\xA9\\n\""},
      {Value::string("a\xFF"), R"({"$kind":"string","value":"Yf8="})"},
      {Value::bytes(bytes), R"({"$kind":"bytes","value":"AP8Q"})"},
      {Value::array({Value::array({}), Number::int8(-1)}), R"([[],{"$kind":"int8","value":-1}])"},
      {Value::dictionary({{"value", Value::bytes({})}, {"kind", Value::dictionary({})}}),
       R"({"value":{"$kind":"bytes","value":""},"kind":{}})"},
      {odd, R"({"$kind":"dictionary","value":[["$kind","int8"],["value",null]]})"},
      {Value::dictionary({{"$kind", odd}, {"\xFF", Number::float32(1)}}),
       R"({"$kind":"dictionary","value":[["$kind",{"$kind":"dictionary","value":)"
       R"([["$kind","int8"],["value",null]]}],[{"$kind":"string","value":"/w=="},)"
       R"({"$kind":"float","value":1.0}]]})"},
  };
  for (const auto& [value, text] : rows) {
    EXPECT_EQ(jsonText(*jsonFormOf(value)), text);
    Value back;
    EXPECT_EQ(readBack(text, back), "") << text;
    EXPECT_EQ(back, value) << text;
    EXPECT_EQ(jsonText(*jsonFormOf(back)), text);
  }
  const Value large = Value::dictionary(many);
  EXPECT_EQ(valueOfJSONForm(*jsonFormOf(large)), large);
  const Value nan = *valueOfJSONForm(*jsonFormOf(Value(Number::float32(std::nanf("")))));
  EXPECT_EQ(jsonText(*jsonFormOf(nan)), R"({"$kind":"float","value":"NaN"})");
}

TEST(ValueJSON, refusesWhatIsNoForm) {
  constexpr const char* kNoWrapper =
      "A dictionary with the key $kind needs a text there, the key value and no other";
  const std::pair<const char*, const char*> rows[] = {
      {R"({"$kind":"int7","value":1})", "Unknown $kind 'int7'"},
      {R"({"$kind":1,"value":1})", kNoWrapper},
      {R"({"$kind":"int8","values":1})", kNoWrapper},
      {R"([{"a":{"$kind":"int8"}}])", kNoWrapper},
      {R"({"$kind":"int8","value":1,"more":1})", kNoWrapper},
      {R"({"$kind":"int8","value":128})", "The value of $kind 'int8' does not fit it"},
      {R"({"$kind":"int8","value":-129})", "The value of $kind 'int8' does not fit it"},
      {R"({"$kind":"int16","value":1.0})", "The value of $kind 'int16' does not fit it"},
      {R"({"$kind":"uint64","value":-1})", "The value of $kind 'uint64' does not fit it"},
      {R"({"$kind":"long","value":9223372036854775808})",
       "The value of $kind 'long' does not fit it"},
      {R"({"$kind":"double","value":"nan"})", "The value of $kind 'double' does not fit it"},
      {R"({"$kind":"float","value":-1e300})", "The value of $kind 'float' does not fit it"},
      {R"({"$kind":"float","value":null})", "The value of $kind 'float' does not fit it"},
      {R"({"$kind":"bytes","value":"AP8"})", "The value of $kind 'bytes' does not fit it"},
      {R"({"$kind":"string","value":[]})", "The value of $kind 'string' does not fit it"},
      {R"({"$kind":"dictionary","value":{}})", "The value of $kind 'dictionary' does not fit it"},
      {R"({"$kind":"dictionary","value":[["a"]]})",
       "The value of $kind 'dictionary' does not fit it"},
      {R"({"$kind":"dictionary","value":[[1,2]]})",
       "The value of $kind 'dictionary' does not fit it"},
      {R"({"$kind":"dictionary","value":[[{"$kind":"string","value":"x"},2]]})",
       "The value of $kind 'string' does not fit it"},
  };
  for (const auto& [text, error] : rows) {
    Value value;
    EXPECT_EQ(readBack(text, value), error) << text;
  }
  std::optional<std::string> error;
  EXPECT_EQ(jsonFormOf(Value::array({Value::object(std::make_shared<Packet>())}), &error),
            std::nullopt);
  EXPECT_EQ(error, "A library object has no JSON form");
}

TEST(ValueJSON, anyDepth) {
  Value deep;
  for (int i = 0; i < 100000; ++i) {
    deep = i % 2 == 0 ? Value::array({deep}) : Value::dictionary({{"$kind", deep}});
  }
  EXPECT_EQ(valueOfJSONForm(*jsonFormOf(deep)), deep);
}

// Sixty levels in both places of the level above would be 10^18 values.
TEST(ValueJSON, keepsSharedWhatIsShared) {
  Value shared = Value::bytes({});
  for (int i = 0; i < 60; ++i) {
    shared = i % 2 == 0 ? Value::array({shared, shared})
                        : Value::dictionary({{"$kind", shared}, {"value", shared}});
  }
  const Value form = *jsonFormOf(shared);
  EXPECT_EQ(valueOfJSONForm(form), shared);
  EXPECT_EQ(jsonText(form, {.maximumBytes = 30}), R"({"$kind":"dictionary","valu...)");
}

}  // namespace
}  // namespace qv
