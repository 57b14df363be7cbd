#include "qvparsersupport/transformers/btle_transformers.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

struct Row {
  QVFormatType format;
  std::optional<Value> input;
  std::string expected;
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const std::string kUint8Length = " | Invalid number of bytes provided for uint8.";

TEST(QVBTLETransformerTest, Encodes) {
  using F = QVFormatType;
  const Row rows[] = {
      {F::integer, Number::int64(0), "<00>"},
      {F::integer, Number::int64(255), "<ff>"},
      {F::integer, Number::int8(127), "<7f>"},
      {F::integer, Number::int64(256), "<00 01>"},
      {F::integer, Number::int64(65535), "<ff ff>"},
      {F::integer, Number::int64(65536), "<00 00 01 00>"},
      {F::integer, Number::uint32(0xFFFFFFFF), "<ff ff ff ff>"},
      {F::integer, Number::int64(0x100000000), "<00 00 00 00 01 00 00 00>"},
      {F::integer, Number::int8(-1), "<ff ff ff ff ff ff ff ff>"},
      {F::integer, Number::uint64(~0ULL), "<ff ff ff ff ff ff ff ff>"},
      {F::integer, Number::float64(-0.5), "<00>"},
      {F::integer, Number::float64(-2.9), "<fe ff ff ff ff ff ff ff>"},
      {F::integer, Number::float64(kInfinity), "<ff ff ff ff ff ff ff ff>"},
      {F::uint8, Number::int64(300), "<2c>"},
      {F::uint8, Number::float64(-1.5), "<ff>"},
      {F::uint16, Number::int64(70000), "<70 11>"},
      {F::uint32, Number::int64(-2), "<fe ff ff ff>"},
      {F::uint64, Number::int64(5), "<05 00 00 00 00 00 00 00>"},
      {F::floatingPoint, Number::int64(1), "<00 00 80 3f>"},
      {F::floatingPoint, Number::float64(1e300), "<00 00 80 7f>"},
      {F::boolean, Number::int64(5), "<01>"},
      {F::boolean, Number::int64(256), "<01>"},
      {F::boolean, Number::float64(0.25), "<01>"},
      {F::boolean, Number::boolean(false), "<00>"},
      {F::string, Value::string("h\xC3\xA9"), "<68 c3 a9>"},
      {F::string, Value::string(""), "<>"},
      {F::string, Value::string("\xC3("), "- | Failed to UTF-8 encode value."},
      {F::string, Number::int64(1), "- | Value cannot be encoded to a string."},
      {F::string, std::nullopt, "- | Value cannot be encoded to a string."},
      {F::data, Value::string("x"), "- | Value is not raw data."},
      {F::data, std::nullopt, "- | Value is not raw data."},
      {F::uint8, Value::string("1"), "- | Value is not a number."},
      {F::uint8, Value(), "- | Value is not a number."},
      {F::uint8, std::nullopt, "- | Value is not a number."},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(encoded(registered(QVTransport::btle, row.format), row.input), row.expected)
        << static_cast<int>(row.format) << " " << dump(row.input);
  }
}

TEST(QVBTLETransformerTest, EncodesBytesBroughtIntoTheirCanonicalForm) {
  using F = QVFormatType;
  const Row rows[] = {
      {F::integer, bytesValue("05 00"), "<05>"},
      {F::integer, bytesValue("ff"), "<ff ff ff ff ff ff ff ff>"},
      {F::integer, bytesValue("01 02 03"), "-" + kUint8Length},
      {F::uint16, bytesValue("05 00"), "<05 00>"},
      {F::boolean, bytesValue("02"), "- | Invalid boolean value."},
      {F::floatingPoint, bytesValue("00 00 c0 7f"), "<00 00 c0 7f>"},
      {F::string, bytesValue("41 00"), "<41 00>"},
      {F::string, bytesValue("c3 28"), "- | Failed to interpret UTF-8 data."},
      {F::data, bytesValue("c3 28"), "<c3 28>"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(encoded(registered(QVTransport::btle, row.format), row.input), row.expected)
        << static_cast<int>(row.format) << " " << dump(row.input);
  }
}

TEST(QVBTLETransformerTest, Decodes) {
  using F = QVFormatType;
  const auto wrong = [](const char* name) {
    return fmt::format("- | Invalid number of bytes provided for {}.", name);
  };
  const Row rows[] = {
      {F::integer, bytesValue("80"), "c:-128"},
      {F::integer, bytesValue("00 80"), "s:-32768"},
      {F::integer, bytesValue("fe ff ff ff"), "i:-2"},
      {F::integer, bytesValue("00 00 00 00 00 00 00 80"), "q:-9223372036854775808"},
      {F::uint8, bytesValue("ff"), "C:255"},
      {F::uint8, bytesValue("ff 00"), "-" + kUint8Length},
      {F::uint8, bytesValue(""), "-" + kUint8Length},
      {F::uint8, std::nullopt, "-" + kUint8Length},
      {F::uint16, bytesValue("34 12"), "S:4660"},
      {F::uint16, bytesValue("34"), wrong("uint16")},
      {F::uint32, bytesValue("78 56 34 12"), "I:305419896"},
      {F::uint32, bytesValue("78 56 34"), wrong("uint32")},
      {F::uint64, bytesValue("ff ff ff ff ff ff ff ff"), "Q:18446744073709551615"},
      {F::uint64, bytesValue("ff ff ff ff"), wrong("uint64")},
      {F::floatingPoint, bytesValue("00 00 80 3f"), "f:1"},
      {F::floatingPoint, bytesValue("00 00 c0 7f"), "f:nan"},
      {F::floatingPoint, bytesValue("00 00 80"), wrong("float")},
      {F::boolean, bytesValue("00"), "c:0"},
      {F::boolean, bytesValue("01"), "c:1"},
      {F::boolean, bytesValue("02"), "- | Invalid boolean value."},
      {F::boolean, bytesValue("00 00"), wrong("boolean")},
      {F::string, bytesValue("c3 a9"), "'\xC3\xA9'"},
      {F::string, bytesValue(""), "''"},
      {F::string, std::nullopt, "''"},
      {F::string, bytesValue("41 00 42"), std::string("'A\0B'", 5)},
      {F::string, bytesValue("c3 28"), "- | Failed to interpret UTF-8 data."},
      {F::data, bytesValue("00 ff"), "<00 ff>"},
      {F::data, Value::string("x"), "'x'"},
      {F::data, std::nullopt, "-"},
      {F::uint8, Value::string("1"), "- | Value is not raw data."},
      {F::string, Value(), "- | Value is not raw data."},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(decoded(registered(QVTransport::btle, row.format), row.input), row.expected)
        << static_cast<int>(row.format) << " " << dump(row.input);
  }
}

TEST(QVBTLEPrimitiveTransformerTest, WrongLengthOfAnIntIsReportedAsOneOfAUint8) {
  const QVTransformer& transformer = registered(QVTransport::btle, QVFormatType::integer);
  for (const char* bytes : {"", "01 02 03", "01 02 03 04 05 06 07 08 09"}) {
    EXPECT_EQ(decoded(transformer, bytesValue(bytes)), "-" + kUint8Length);
  }
}

TEST(QVBTLEPrimitiveTransformerTest, UnknownTypeFailsEveryTransform) {
  const auto transformer = QVBTLEPrimitiveTransformer::transformerWithBTLEPrimitive(7);
  EXPECT_EQ(transformer->format(), QVFormatType::none);
  const std::string text = "- | Invalid primitive type in transformer.";
  for (const Value& value : {Value(Number::int8(1)), bytesValue("01"), Value::string("")}) {
    EXPECT_EQ(encoded(*transformer, value), text);
    EXPECT_EQ(decoded(*transformer, value), text);
  }
}

TEST(QVBTLETransformerTest, LimitsApplyToTheEncodingOfTheDecodedValue) {
  const auto characteristic = QVCharacteristicXMLObject::initWithFormat(QVFormatType::integer);
  characteristic->setMaximumLength(Number::int64(1));
  const QVTransformer& transformer = registered(QVTransport::btle, QVFormatType::integer);
  EXPECT_EQ(validated(transformer, bytesValue("05 00"), *characteristic), "ok");
  EXPECT_EQ(validated(transformer, bytesValue("00 01"), *characteristic),
            "Encoded value is 2 bytes, which is larger than the maximum of 1 bytes.");
  EXPECT_EQ(validated(transformer, bytesValue("01 02 03"), *characteristic),
            kUint8Length.substr(3));
  EXPECT_EQ(validated(transformer, Value(), *characteristic), "Value is not a number.");
  EXPECT_EQ(validated(registered(QVTransport::btle, QVFormatType::data), bytesValue("01"),
                      *characteristic),
            "ok");
}

// Encodes everything, and decodes to what it was made with.
class ScriptedDecoder : public QVBTLETransformer {
 public:
  ScriptedDecoder(std::optional<Value> result, std::optional<std::string> text)
      : result_(std::move(result)), text_(std::move(text)) {}
  std::optional<Value> transformValue(const std::optional<Value>& value, ErrorSlot) const override {
    return value;
  }
  std::optional<Value> reverseTransformValue(const std::optional<Value>&,
                                             ErrorSlot slot) const override {
    if (text_) fail(slot, *text_);
    return result_;
  }

 private:
  std::optional<Value> result_;
  std::optional<std::string> text_;
};

TEST(QVBTLETransformerTest, BytesHaveToDecodeToAValueAndWithoutAText) {
  const auto characteristic = QVCharacteristicXMLObject::initWithFormat(QVFormatType::string);
  struct Row {
    std::optional<Value> result;
    std::optional<std::string> text;
    std::string expected;  // "untouched": fails without a text
  };
  const Row rows[] = {
      {Value::string("a"), std::nullopt, "ok"},
      {Value::string("a"), "wrong", "wrong"},
      {std::nullopt, "wrong", "wrong"},
      {std::nullopt, std::nullopt, "untouched"},
  };
  for (const Row& row : rows) {
    const ScriptedDecoder transformer(row.result, row.text);
    EXPECT_EQ(validated(transformer, bytesValue("61"), *characteristic), row.expected);
    EXPECT_EQ(validated(transformer, Value::string("b"), *characteristic), "ok");
  }
}

}  // namespace
}  // namespace qv::test
