#include "qvparsersupport/transformers/tlv8_field_transformers.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

using F = QVFormatType;

struct Row {
  QVFormatType format;
  std::optional<Value> input;
  std::string expected;
};

TEST(QVTLV8FieldTransformersTest, Encode) {
  const Row rows[] = {
      {F::uint8, Number::int64(300), "<2c>"},
      {F::uint8, Number::int8(-1), "<ff>"},
      {F::uint16, Number::int64(70000), "<70 11>"},
      {F::uint32, Number::int8(-2), "<fe ff ff ff>"},
      {F::uint64, Number::float64(1e30), "<ff ff ff ff ff ff ff ff>"},
      {F::floatingPoint, Number::float64(1), "<00 00 80 3f>"},
      {F::floatingPoint, Number::float64(-1e300), "<00 00 80 ff>"},
      {F::uint8, Value::string("1"), "- | Value is not a number."},
      {F::integer, Value(), "- | Value is not a number."},
      {F::floatingPoint, std::nullopt, "- | Value is not a number."},
      {F::string, Value::string("h\xC3\xA9"), "<68 c3 a9>"},
      {F::string, Value::string("\xED\xA0\x80"), "- | Failed to UTF-8 encode value."},
      {F::string, bytesValue("41"), "- | Value cannot be encoded to a string."},
      {F::string, std::nullopt, "- | Value cannot be encoded to a string."},
      {F::data, bytesValue("00 ff"), "<00 ff>"},
      {F::data, Value::string("AA=="), "- | Value is not raw data."},
      {F::tlv8, bytesValue("01"), "<01>"},
      {F::tlv8, Value::object(QVTLV8MutablePacket::init()), "- | Value is not raw data."},
      {F::tlv8, std::nullopt, "- | Value is not raw data."},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(encoded(registered(QVTransport::tlv8, row.format), row.input), row.expected)
        << static_cast<int>(row.format) << " " << dump(row.input);
  }
}

TEST(QVTLV8FieldTransformersTest, IntFromZeroOnEncodesAsItsLowestByteAndBelowByItsKind) {
  const Row rows[] = {
      {F::integer, Number::int8(5), "<05>"},
      {F::integer, Number::int64(5), "<05>"},
      {F::integer, Number::uint16(255), "<ff>"},
      {F::integer, Number::int64(256), "<00>"},
      {F::integer, Number::int32(300), "<2c>"},
      {F::integer, Number::float64(300.9), "<2c>"},
      {F::integer, Number::int8(-1), "<ff>"},
      {F::integer, Number::int16(-1), "<ff ff>"},
      {F::integer, Number::int32(-2), "<fe ff ff ff>"},
      {F::integer, Number::signedLong(-2), "<fe ff ff ff>"},
      {F::integer, Number::int64(-2), "<fe ff ff ff ff ff ff ff>"},
      {F::integer, Number::uint64(~0ULL), "<ff ff ff ff ff ff ff ff>"},
      {F::integer, Number::unsignedLong(~0UL), "<ff ff ff ff ff ff ff ff>"},
      {F::integer, Number::float64(-0.5), "<00>"},
      {F::integer, Number::float32(-1.5F), "<ff ff ff ff ff ff ff ff>"},
      {F::integer, Number::float64(-1e300), "<00 00 00 00 00 00 00 80>"},
      {F::integer, Number::float64(std::numeric_limits<double>::quiet_NaN()), "<00>"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(encoded(registered(QVTransport::tlv8, row.format), row.input), row.expected)
        << dump(row.input);
  }
}

// The texts of int, uint16 and uint32 are those of other formats on purpose.
TEST(QVTLV8FieldTransformersTest, DecodeWithSharedLengthTexts) {
  const std::string notRaw = "- | Value is not raw data.";
  const Row rows[] = {
      {F::integer, bytesValue("ff"), "c:-1"},
      {F::integer, bytesValue("00 80"), "s:-32768"},
      {F::integer, bytesValue("fe ff ff ff"), "i:-2"},
      {F::integer, bytesValue("05 00 00 00 00 00 00 00"), "q:5"},
      {F::integer, bytesValue("01 02 03"), "- | Invalid length 3 for unsigned integer"},
      {F::integer, std::nullopt, "- | Invalid length 0 for unsigned integer"},
      {F::uint8, bytesValue("ff"), "C:255"},
      {F::uint8, bytesValue("ff 00"), "- | Invalid length 2 for uint8"},
      {F::uint16, bytesValue("34 12"), "S:4660"},
      {F::uint16, bytesValue("34"), "- | Invalid length 1 for uint64"},
      {F::uint32, bytesValue("78 56 34 12"), "I:305419896"},
      {F::uint32, bytesValue("78 56 34"), "- | Invalid length 3 for uint64"},
      {F::uint64, bytesValue("ff ff ff ff ff ff ff ff"), "Q:18446744073709551615"},
      {F::uint64, bytesValue("00 00 00 00 00 00 00 00 00"), "- | Invalid length 9 for uint64"},
      {F::floatingPoint, bytesValue("00 00 80 3f"), "f:1"},
      {F::floatingPoint, bytesValue("00 00 80 7f"), "f:inf"},
      {F::floatingPoint, bytesValue(""), "- | Invalid number of bytes provided for float."},
      {F::uint8, Value::string("1"), notRaw},
      {F::string, Value(), notRaw},
      {F::string, bytesValue("68 c3 a9"), "'h\xC3\xA9'"},
      {F::string, std::nullopt, "''"},
      {F::data, bytesValue("00 ff"), "<00 ff>"},
      {F::data, Value(), "null"},
      {F::data, std::nullopt, "-"},
      {F::tlv8, bytesValue("01 05"), "<01 05>"},
      {F::tlv8, std::nullopt, "-"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(decoded(registered(QVTransport::tlv8, row.format), row.input), row.expected)
        << static_cast<int>(row.format) << " " << dump(row.input);
  }
}

TEST(QVTLV8StringTransformerTest, NullCharactersGiveBothATextAndTheRest) {
  const QVTransformer& transformer = registered(QVTransport::tlv8, F::string);
  const std::string text =
      " | Reverse transform of data failed because string information contained null characters";
  EXPECT_EQ(decoded(transformer, bytesValue("41 00 42 00")), "'AB'" + text);
  EXPECT_EQ(decoded(transformer, bytesValue("00")), "''" + text);
  // Broken UTF-8 counts as holding them, but leaves nothing to answer.
  EXPECT_EQ(decoded(transformer, bytesValue("c3 28")), "-" + text);
  EXPECT_EQ(decoded(transformer, bytesValue("c3 00")), "-" + text);
}

TEST(QVTLV8PrimitiveTransformerTest, NaNComesBackAsTheSameBytes) {
  const QVTransformer& transformer = registered(QVTransport::tlv8, F::floatingPoint);
  for (const char* bytes : {"00 00 c0 7f", "01 00 c0 ff", "00 00 80 80"}) {
    const auto number = transformer.reverseTransformValue(bytesValue(bytes));
    EXPECT_EQ(encoded(transformer, number), fmt::format("<{}>", bytes));
  }
}

TEST(QVTLV8PrimitiveTransformerTest, UnknownTypeFailsEveryTransform) {
  // 6 is a boolean on BTLE, but nothing here.
  for (const std::uint8_t type : {std::uint8_t{6}, std::uint8_t{255}}) {
    const auto transformer = QVTLV8PrimitiveTransformer::transformerWithTLV8Primitive(type);
    EXPECT_EQ(transformer->format(), QVFormatType::none);
    EXPECT_EQ(transformer->transport(), QVTransport::tlv8);
    const std::string text = "- | Invalid primitive type in transformer.";
    for (const Value& value : {Value(Number::int8(1)), bytesValue("01"), Value()}) {
      EXPECT_EQ(encoded(*transformer, value), text);
      EXPECT_EQ(decoded(*transformer, value), text);
    }
  }
}

}  // namespace
}  // namespace qv::test
