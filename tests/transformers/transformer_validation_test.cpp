#include <gtest/gtest.h>

#include "tests/transformers/definition_builders.h"
#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

using F = QVFormatType;

// Answers what it was made with, so that every outcome of a transform can be validated.
class ScriptedTransformer : public QVTransformer {
 public:
  ScriptedTransformer(std::optional<Value> result, std::optional<std::string> text)
      : result_(std::move(result)), text_(std::move(text)) {}
  std::optional<Value> transformValue(const std::optional<Value>&, ErrorSlot slot) const override {
    if (text_) fail(slot, *text_);
    return result_;
  }

 private:
  std::optional<Value> result_;
  std::optional<std::string> text_;
};

TEST(QVTransformerValidationTest, DependsOnTheOutcomeOfTheTransform) {
  const auto characteristic = QVCharacteristicXMLObject::initWithFormat(F::string);
  struct Row {
    std::optional<Value> result;
    std::optional<std::string> text;
    std::string expected;
  };
  const Row rows[] = {
      {bytesValue("01"), std::nullopt, "ok"},
      {Value(), std::nullopt, "ok"},
      {bytesValue("01"), "100%@ wrong", "100%@ wrong"},
      {std::nullopt, "wrong", "wrong"},
      {std::nullopt, std::nullopt, "Value could not be serialized for this transport."},
  };
  for (const Row& row : rows) {
    const ScriptedTransformer transformer(row.result, row.text);
    EXPECT_EQ(validated(transformer, Value(), *characteristic), row.expected);
  }
}

TEST(QVTransformerValidationTest, MaximumLengthCountsEncodedBytes) {
  const std::string noLength = "Encoded value does not have an inherent length.";
  struct Row {
    QVFormatType format;
    std::optional<Value> value;
    Number maximum;
    std::string expected;
  };
  const Row rows[] = {
      {F::string, Value::string("\xC3\xA9\xC3\xA9\xC3\xA9"), Number::int64(5),
       "Encoded value is 6 bytes, which is larger than the maximum of 5 bytes."},
      {F::string, Value::string("\xC3\xA9\xC3\xA9\xC3\xA9"), Number::int64(6), "ok"},
      {F::string, Value::string(""), Number::int64(-1),
       "Encoded value is 0 bytes, which is larger than the maximum of -1 bytes."},
      // The maximum is read as a signed integer and printed as it stands.
      {F::data, bytesValue(""), Number::uint64(~0ULL),
       "Encoded value is 0 bytes, which is larger than the maximum of 18446744073709551615 bytes."},
      {F::data, bytesValue("01 02 03"), Number::float64(2.5),
       "Encoded value is 3 bytes, which is larger than the maximum of 2.5 bytes."},
      {F::data, bytesValue("01 02"), Number::float64(2.5), "ok"},
      {F::data, bytesValue("01 02"), Number::int64(2), "ok"},
      // A base-64 text counts as it stands.
      {F::data, Value::string("AQI="), Number::int64(2),
       "Encoded value is 4 bytes, which is larger than the maximum of 2 bytes."},
      {F::integer, Number::int64(1), Number::int64(8), noLength},
      {F::integer, Value(), Number::int64(8), noLength},
      {F::array, Value::array({}), Number::int64(8), noLength},
      {F::integer, Value::string("1"), Number::int64(8), "Value is not a number."},
  };
  for (const Row& row : rows) {
    const auto characteristic = QVCharacteristicXMLObject::initWithFormat(row.format);
    characteristic->setMaximumLength(row.maximum);
    EXPECT_EQ(validated(registered(QVTransport::ip, row.format), row.value, *characteristic),
              row.expected);
  }
  // Objects pass every check, no value at all included, but that is not an encoded value.
  EXPECT_EQ(validated(registered(QVTransport::ip, F::dictionary), std::nullopt,
                      *QVCharacteristicXMLObject::initWithFormat(F::dictionary)),
            "Value could not be serialized for this transport.");
}

TEST(QVTransformerValidationTest, EnumIsAskedLastAndAboutTheValueBeforeEncoding) {
  const auto characteristic = QVCharacteristicXMLObject::initWithFormat(F::uint8);
  characteristic->setEnumDefinition(enumOf(F::integer, {"1", "300"}));
  const std::string refused = "Value does not conform to allowed values";
  const QVTransformer& btle = registered(QVTransport::btle, F::uint8);
  EXPECT_EQ(validated(btle, Number::int64(1), *characteristic), "ok");
  EXPECT_EQ(validated(btle, bytesValue("01"), *characteristic), "ok");
  // 300 is cut to 2c on the way; the enum knows 300 and not 2c.
  EXPECT_EQ(validated(btle, Number::int64(300), *characteristic), "ok");
  EXPECT_EQ(validated(btle, Number::int64(0x2C), *characteristic), refused);
  EXPECT_EQ(validated(btle, bytesValue("2c"), *characteristic), refused);
  characteristic->setMaximumLength(Number::int64(0));
  EXPECT_EQ(validated(btle, Number::int64(7), *characteristic),
            "Encoded value is 1 bytes, which is larger than the maximum of 0 bytes.");
}

}  // namespace
}  // namespace qv::test
