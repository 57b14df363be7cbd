#include <gtest/gtest.h>

#include "qvparsersupport/transformers/btle_transformers.h"
#include "qvparsersupport/transformers/tlv8_field_transformers.h"
#include "qvparsersupport/vocabulary/format_strings.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"
#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

using F = QVFormatType;

// The cases name the direction, the format and the value.
void expectCodings(QVTransport transport, const char* file) {
  expectAnswers(file, [&](const Case& input) {
    const std::string line(textOf(readableBytes(input[0])));
    const std::size_t end = line.find(' ', 7);
    const auto& transformer =
        registered(transport, QVFormatStrings::formatTypeForString(line.substr(7, end - 7)));
    const auto value = valueOf(line.substr(end + 1));
    return line.starts_with("encode ") ? encoded(transformer, value) : decoded(transformer, value);
  });
}

TEST(QVBTLETransformerTest, Codes) {
  expectCodings(QVTransport::btle, "codings/btle.txt");
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
  expectCodings(QVTransport::tlv8, "codings/tlv8.txt");
  EXPECT_EQ(
      encoded(registered(QVTransport::tlv8, F::tlv8), Value::object(QVTLV8MutablePacket::init())),
      "- | Value is not raw data.");
}

TEST(QVTLV8FieldTransformersTest, IntFromZeroOnEncodesAsItsLowestByteAndBelowByItsKind) {
  expectCodings(QVTransport::tlv8, "codings/tlv8-int.txt");
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
