#include <gtest/gtest.h>

#include "qvparsersupport/transformers/btle_transformers.h"
#include "qvparsersupport/transformers/tlv8_field_transformers.h"
#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

using F = QVFormatType;
using namespace std::string_view_literals;

TEST(QVBTLETransformerTest, Codes) {
  expectCodings(
      QVTransport::btle,
      {{F::integer,
        "q:0 -> <00>; q:255 -> <ff>; c:127 -> <7f>; q:256 -> <00 01>; q:65535 -> <ff ff>; "
        "q:65536 -> <00 00 01 00>; I:4294967295 -> <ff ff ff ff>; "
        "q:4294967296 -> <00 00 00 00 01 00 00 00>; c:-1 -> <ff ff ff ff ff ff ff ff>; "
        "Q:18446744073709551615 -> <ff ff ff ff ff ff ff ff>; d:-0.5 -> <00>; "
        "d:-2.9 -> <fe ff ff ff ff ff ff ff>; d:inf -> <ff ff ff ff ff ff ff ff>"
        // Bytes are brought into their canonical form.
        "; <05 00> -> <05>; <ff> -> <ff ff ff ff ff ff ff ff>",
        "<80> -> c:-128; <00 80> -> s:-32768; <fe ff ff ff> -> i:-2; "
        "<00 00 00 00 00 00 00 80> -> q:-9223372036854775808"},
       {F::uint8,
        "q:300 -> <2c>; d:-1.5 -> <ff>; '1' -> - | Value is not a number.; "
        "null -> - | Value is not a number.; - -> - | Value is not a number.",
        "<ff> -> C:255; <ff 00> -> - | Invalid number of bytes provided for uint8.; "
        "- -> - | Invalid number of bytes provided for uint8.; '1' -> - | Value is not raw data."},
       {F::uint16, "q:70000 -> <70 11>; <05 00> -> <05 00>",
        "<34 12> -> S:4660; <34> -> - | Invalid number of bytes provided for uint16."},
       {F::uint32, "q:-2 -> <fe ff ff ff>",
        "<78 56 34 12> -> I:305419896; "
        "<78 56 34> -> - | Invalid number of bytes provided for uint32."},
       {F::uint64, "q:5 -> <05 00 00 00 00 00 00 00>",
        "<ff ff ff ff ff ff ff ff> -> Q:18446744073709551615; "
        "<ff ff ff ff> -> - | Invalid number of bytes provided for uint64."},
       {F::floatingPoint,
        "q:1 -> <00 00 80 3f>; d:1e+300 -> <00 00 80 7f>; <00 00 c0 7f> -> <00 00 c0 7f>",
        "<00 00 80 3f> -> f:1; <00 00 c0 7f> -> f:nan; "
        "<00 00 80> -> - | Invalid number of bytes provided for float."},
       {F::boolean,
        "q:5 -> <01>; q:256 -> <01>; d:0.25 -> <01>; c:0 -> <00>; "
        "<02> -> - | Invalid boolean value.",
        "<00> -> c:0; <01> -> c:1; <02> -> - | Invalid boolean value.; "
        "<00 00> -> - | Invalid number of bytes provided for boolean."},
       {F::string,
        "'hé' -> <68 c3 a9>; '' -> <>; '\xC3(' -> - | Failed to UTF-8 encode value.; "
        "q:1 -> - | Value cannot be encoded to a string.; "
        "- -> - | Value cannot be encoded to a string.; <41 00> -> <41 00>; "
        "<c3 28> -> - | Failed to interpret UTF-8 data.",
        "<c3 a9> -> 'é'; <> -> ''; - -> ''; <41 00 42> -> 'A\0B'; "
        "<c3 28> -> - | Failed to interpret UTF-8 data.; null -> - | Value is not raw data."sv},
       {F::data,
        "<c3 28> -> <c3 28>; 'x' -> - | Value is not raw data.; - -> - | Value is not raw data.",
        "<00 ff> -> <00 ff>; 'x' -> 'x'; - -> -"}});
}

TEST(QVBTLEPrimitiveTransformerTest, WrongLengthOfAnIntIsReportedAsOneOfAUint8) {
  const QVTransformer& transformer = registered(QVTransport::btle, F::integer);
  for (const char* bytes : {"<>", "<01 02 03>", "<01 02 03 04 05 06 07 08 09>"}) {
    const std::string text = "- | Invalid number of bytes provided for uint8.";
    EXPECT_EQ(decoded(transformer, valueOf(bytes)), text);
    EXPECT_EQ(encoded(transformer, valueOf(bytes)), text);
  }
}

// The texts of int, uint16 and uint32 are those of other formats on purpose.
TEST(QVTLV8FieldTransformersTest, CodeWithSharedLengthTexts) {
  expectCodings(
      QVTransport::tlv8,
      {{F::integer, "null -> - | Value is not a number.",
        "<ff> -> c:-1; <00 80> -> s:-32768; <fe ff ff ff> -> i:-2; "
        "<05 00 00 00 00 00 00 00> -> q:5; "
        "<01 02 03> -> - | Invalid length 3 for unsigned integer; "
        "- -> - | Invalid length 0 for unsigned integer"},
       {F::uint8, "q:300 -> <2c>; c:-1 -> <ff>; '1' -> - | Value is not a number.",
        "<ff> -> C:255; <ff 00> -> - | Invalid length 2 for uint8; "
        "'1' -> - | Value is not raw data."},
       {F::uint16, "q:70000 -> <70 11>",
        "<34 12> -> S:4660; <34> -> - | Invalid length 1 for uint64"},
       {F::uint32, "c:-2 -> <fe ff ff ff>",
        "<78 56 34 12> -> I:305419896; <78 56 34> -> - | Invalid length 3 for uint64"},
       {F::uint64, "d:1e+30 -> <ff ff ff ff ff ff ff ff>",
        "<ff ff ff ff ff ff ff ff> -> Q:18446744073709551615; "
        "<00 00 00 00 00 00 00 00 00> -> - | Invalid length 9 for uint64"},
       {F::floatingPoint,
        "d:1 -> <00 00 80 3f>; d:-1e+300 -> <00 00 80 ff>; - -> - | Value is not a number.",
        "<00 00 80 3f> -> f:1; <00 00 80 7f> -> f:inf; "
        "<> -> - | Invalid number of bytes provided for float."},
       {F::string,
        "'hé' -> <68 c3 a9>; '\xED\xA0\x80' -> - | Failed to UTF-8 encode value.; "
        "<41> -> - | Value cannot be encoded to a string.; "
        "- -> - | Value cannot be encoded to a string.",
        "<68 c3 a9> -> 'hé'; - -> ''; null -> - | Value is not raw data."},
       {F::data, "<00 ff> -> <00 ff>; 'AA==' -> - | Value is not raw data.",
        "<00 ff> -> <00 ff>; null -> null; - -> -"},
       {F::tlv8, "<01> -> <01>; - -> - | Value is not raw data.", "<01 05> -> <01 05>; - -> -"}});
  EXPECT_EQ(
      encoded(registered(QVTransport::tlv8, F::tlv8), Value::object(QVTLV8MutablePacket::init())),
      "- | Value is not raw data.");
}

TEST(QVTLV8FieldTransformersTest, IntFromZeroOnEncodesAsItsLowestByteAndBelowByItsKind) {
  expectCodings(
      QVTransport::tlv8,
      {{F::integer,
        "c:5 -> <05>; q:5 -> <05>; S:255 -> <ff>; q:256 -> <00>; i:300 -> <2c>; d:300.9 -> <2c>; "
        "q:0 -> <00>; c:-1 -> <ff>; s:-1 -> <ff ff>; i:-2 -> <fe ff ff ff>; "
        "l:-2 -> <fe ff ff ff>; q:-2 -> <fe ff ff ff ff ff ff ff>; "
        "Q:18446744073709551615 -> <ff ff ff ff ff ff ff ff>; "
        "L:18446744073709551615 -> <ff ff ff ff ff ff ff ff>; d:-0.5 -> <00>; "
        "f:-1.5 -> <ff ff ff ff ff ff ff ff>; d:-1e+300 -> <00 00 00 00 00 00 00 80>; "
        "d:nan -> <00>",
        ""}});
}

// Broken UTF-8 counts as holding them, but leaves nothing to answer.
TEST(QVTLV8StringTransformerTest, NullCharactersGiveBothATextAndTheRest) {
  const std::string text =
      " | Reverse transform of data failed because string information contained null characters";
  const std::pair<const char*, const char*> rows[] = {
      {"<41 00 42 00>", "'AB'"}, {"<00>", "''"}, {"<c3 28>", "-"}, {"<c3 00>", "-"}};
  for (const auto& [bytes, rest] : rows) {
    EXPECT_EQ(decoded(registered(QVTransport::tlv8, F::string), valueOf(bytes)), rest + text);
  }
}

TEST(QVTLV8PrimitiveTransformerTest, NaNComesBackAsTheSameBytes) {
  const QVTransformer& transformer = registered(QVTransport::tlv8, F::floatingPoint);
  for (const char* bytes : {"<00 00 c0 7f>", "<01 00 c0 ff>", "<00 00 80 80>"}) {
    EXPECT_EQ(encoded(transformer, transformer.reverseTransformValue(valueOf(bytes))), bytes);
  }
}

TEST(EncodingTransformersTest, UnknownPrimitiveTypeFailsEveryTransform) {
  const std::shared_ptr<QVTransformer> transformers[] = {
      QVBTLEPrimitiveTransformer::transformerWithBTLEPrimitive(7),
      QVTLV8PrimitiveTransformer::transformerWithTLV8Primitive(6),  // a boolean on BTLE
      QVTLV8PrimitiveTransformer::transformerWithTLV8Primitive(255)};
  for (const auto& transformer : transformers) {
    EXPECT_EQ(transformer->format(), F::none);
    for (const char* value : {"c:1", "<01>", "''", "null"}) {
      const std::string text = "- | Invalid primitive type in transformer.";
      EXPECT_EQ(encoded(*transformer, valueOf(value)), text);
      EXPECT_EQ(decoded(*transformer, valueOf(value)), text);
    }
  }
}

}  // namespace
}  // namespace qv::test
