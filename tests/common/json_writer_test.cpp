#include "qvparsersupport/common/json_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/utf8.h"

namespace qv {
namespace {

TEST(JSONWriter, writesWhatReadsBack) {
  const char* const texts[] = {
      R"({"a":[1,-2,18446744073709551615,true,false,null],"b":{},"c":[],"":""})",
      R"([0.1,-0.0,1.0,5e-324,1.7976931348623157e+308,1e+22,123456.75,0])",
      (R"(["\"\\/\b\f\n\r\t\u0000\u001f)"
       "\x7F\xC3\xA9\xE2\x80\xA8\xF0\x9F\x92\xA1\"]"),
  };
  for (const char* text : texts) {
    EXPECT_EQ(jsonText(*parseJSON(bytesOf(text)).value), text);
    const std::string indented = jsonText(*parseJSON(bytesOf(text)).value, {.indent = 2});
    EXPECT_EQ(jsonText(*parseJSON(bytesOf(indented)).value), text);
  }
  EXPECT_EQ(jsonText(*parseJSON(bytesOf(R"({"a":[1,{}],"b":[]})")).value, {.indent = 2}),
            "{\n  \"a\": [\n    1,\n    {}\n  ],\n  \"b\": []\n}");
}

struct Packet : ValueObject {};

TEST(JSONWriter, writesWhatJSONDoesNotKnow) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::pair<Value, const char*> rows[] = {
      {Number::int8(5), "5"},
      {Number::int8(-1), "-1"},
      {Number::uint8(1), "1"},
      {Number::float32(0.1F), "0.10000000149011612"},
      {Number::float64(kInfinity), "\"Infinity\""},
      {Number::float64(-kInfinity), "\"-Infinity\""},
      {Number::float64(std::numeric_limits<double>::quiet_NaN()), "\"NaN\""},
      {Value::bytes({}), "\"\""},
      {Value::bytes(bytesOf("f")), "\"Zg==\""},
      {Value::bytes(bytesOf("fo")), "\"Zm8=\""},
      {Value::bytes(bytesOf("foo\xFF")), "\"Zm9v/w==\""},
      {Value::object(std::make_shared<Packet>()), "\"object\""},
      {Value::string("a\xED\xA0\x80\xE2\x82"),
       "\"a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},
  };
  for (const auto& [value, text] : rows) EXPECT_EQ(jsonText(value), text);
}

TEST(JSONWriter, cutsLongTexts) {
  const Value value = Value::array({Value::string("\xF0\x9F\x92\xA1\n\xC3\xA9 x"), Number::int8(7),
                                    Value::bytes(bytesOf("bytes")), Value::dictionary({})});
  const std::string whole = jsonText(value);
  EXPECT_EQ(jsonText(value, {.maximumBytes = whole.size()}), whole);
  constexpr std::size_t kMark = 3;
  for (std::size_t maximum = 0; maximum < whole.size(); ++maximum) {
    const std::string text = jsonText(value, {.maximumBytes = maximum});
    ASSERT_LE(text.size(), maximum);
    ASSERT_GE(text.size() + kMark, maximum);
    EXPECT_TRUE(text.ends_with(std::string("...").substr(0, maximum)));
    EXPECT_TRUE(isValidUTF8(bytesOf(text)));
    EXPECT_TRUE(whole.starts_with(text.substr(0, text.size() - std::min(text.size(), kMark))));
  }
  Value shared = Number::int8(1);
  for (int level = 0; level < 200; ++level) shared = Value::array({shared, shared});
  EXPECT_EQ(jsonText(shared, {.maximumBytes = 6}), "[[[...");
}

TEST(JSONWriter, takesAnyDepth) {
  Value deep;
  for (int level = 0; level < 1'000'000; ++level) deep = Value::array({deep});
  EXPECT_EQ(jsonText(deep).size(), 2'000'004U);
}

}  // namespace
}  // namespace qv
