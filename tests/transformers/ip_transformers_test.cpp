#include "qvparsersupport/transformers/ip_transformers.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

// The text that a value gets, in both directions; the value itself must come back.
std::string checked(const QVTransformer& transformer, const std::optional<Value>& value) {
  const std::string result = encoded(transformer, value);
  EXPECT_EQ(decoded(transformer, value), result);
  const std::string unchanged = dump(value);
  EXPECT_EQ(result.substr(0, unchanged.size()), unchanged);
  return result.substr(unchanged.size());
}

const std::optional<Value> kValues[] = {
    std::nullopt,          Value(),         Value::string(""), Value::bytes({}), Value::array({}),
    Value::dictionary({}), Number::int8(1),
};

TEST(QVIPTransformerTest, FailedCheckStoresATextAndAnswersTheValue) {
  struct Row {
    QVFormatType format;
    std::string expected[7];  // by kValues
  };
  const std::string number = " | Value is not a number.";
  const std::string string = " | Value is not a string.";
  const std::string blob = " | Value is not a base-64 encoded string or a raw data object.";
  const std::string array = " | Value is not an array.";
  const Row rows[] = {
      {QVFormatType::integer, {number, "", number, number, number, number, ""}},
      {QVFormatType::boolean, {number, "", number, number, number, number, ""}},
      {QVFormatType::floatingPoint, {number, "", number, number, number, number, ""}},
      {QVFormatType::string, {string, string, "", string, string, string, string}},
      {QVFormatType::data, {blob, blob, "", "", blob, blob, blob}},
      {QVFormatType::array, {array, array, array, array, "", array, array}},
      {QVFormatType::dictionary, {"", "", "", "", "", "", ""}},
  };
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < std::size(kValues); ++i) {
      EXPECT_EQ(checked(registered(QVTransport::ip, row.format), kValues[i]), row.expected[i])
          << static_cast<int>(row.format) << " " << dump(kValues[i]);
    }
  }
  EXPECT_EQ(checked(registered(QVTransport::ip, QVFormatType::data), Value::string("no base-64!")),
            "");
}

TEST(QVIPNumberTransformerTest, ChecksTheKindAndNotTheRange) {
  const Number integers[] = {Number::int8(0),   Number::int16(1),  Number::int32(0),
                             Number::int64(1),  Number::uint8(0),  Number::uint16(1),
                             Number::uint32(0), Number::uint64(1), Number::boolean(true)};
  const Number floats[] = {Number::float32(1), Number::float64(0),
                           Number::float64(std::numeric_limits<double>::quiet_NaN())};
  const Number neither[] = {Number::signedLong(1), Number::unsignedLong(1)};
  for (std::uint8_t type = 0; type <= 8; ++type) {
    const QVIPNumberTransformer transformer(type);
    const std::string text = type == 6                ? " | Number is not a boolean."
                             : type >= 1 && type <= 5 ? " | Number is not an integer."
                                                      : "";
    for (const Number& number : integers) EXPECT_EQ(checked(transformer, number), "");
    for (const Number& number : floats) EXPECT_EQ(checked(transformer, number), text);
    for (const Number& number : neither) {
      EXPECT_EQ(checked(transformer, number), type == 0 ? " | Number is not a float." : text);
    }
    const std::string range = type == 6 ? " | Boolean value out of range" : "";
    for (const Number& number : {Number::int64(256), Number::int8(-1), Number::int64(2)}) {
      EXPECT_EQ(checked(transformer, number), range);
    }
  }
}

TEST(QVIPNumberTransformerTest, UnknownTypeHasNoFormatAndTakesEveryNumber) {
  const auto transformer = QVIPNumberTransformer::transformerWithIPNumber(7);
  EXPECT_EQ(transformer->numberType(), 7);
  EXPECT_EQ(transformer->format(), QVFormatType::none);
  EXPECT_EQ(encoded(*transformer, Number::unsignedLong(9)), "L:9");
  EXPECT_EQ(encoded(*transformer, Value::string("9")), "'9' | Value is not a number.");
}

}  // namespace
}  // namespace qv::test
