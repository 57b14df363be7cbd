#include <gtest/gtest.h>

#include "qvparsersupport/transformers/btle_transformers.h"
#include "tests/transformers/definition_builders.h"
#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

using F = QVFormatType;

// "value" or "value | text", answered whatever comes in.
class ScriptedTransformer : public QVBTLETransformer {
 public:
  ScriptedTransformer(std::string_view decodes, std::string_view encodes)
      : decodes_(decodes), encodes_(encodes) {}
  std::optional<Value> transformValue(const std::optional<Value>&, ErrorSlot slot) const override {
    return play(encodes_, slot);
  }
  std::optional<Value> reverseTransformValue(const std::optional<Value>&,
                                             ErrorSlot slot) const override {
    return play(decodes_, slot);
  }

 private:
  static std::optional<Value> play(std::string_view script, ErrorSlot slot) {
    const std::size_t bar = script.find(" | ");
    if (bar != std::string_view::npos) fail(slot, std::string(script.substr(bar + 3)));
    return valueOf(script.substr(0, bar));
  }
  std::string_view decodes_;
  std::string_view encodes_;
};

// Bytes have to decode to a value and without a text; other values are encoded right away.
TEST(QVTransformerValidationTest, DependsOnTheOutcomeOfTheTransforms) {
  const std::string unserialised = "Value could not be serialized for this transport.";
  const std::string rows[][4] = {
      // value, what it decodes to, what that encodes to, answer
      {"null", "-", "<01>", "ok"},
      {"null", "-", "null", "ok"},
      {"'b'", "- | unasked", "<01>", "ok"},
      {"null", "-", "<01> | 100%@ wrong", "100%@ wrong"},
      {"null", "-", "- | wrong", "wrong"},
      {"null", "-", "-", unserialised},
      {"<61>", "'a'", "<01>", "ok"},
      {"<61>", "'a'", "-", unserialised},
      {"<61>", "'a' | wrong", "<01>", "wrong"},
      {"<61>", "- | wrong", "<01>", "wrong"},
      {"<61>", "-", "<01>", "untouched"},  // fails without a text
  };
  for (const auto& [value, decodes, encodes, expected] : rows) {
    const ScriptedTransformer transformer(decodes, encodes);
    EXPECT_EQ(validated(transformer, valueOf(value),
                        *QVCharacteristicXMLObject::initWithFormat(F::string)),
              expected);
  }
}

TEST(QVTransformerValidationTest, MaximumLengthCountsEncodedBytes) {
  constexpr auto kIP = QVTransport::ip;
  constexpr auto kBTLE = QVTransport::btle;
  const auto tooLong = [](int length, const char* maximum) {
    return fmt::format("Encoded value is {} bytes, which is larger than the maximum of {} bytes.",
                       length, maximum);
  };
  const std::string noLength = "Encoded value does not have an inherent length.";
  struct Row {
    QVTransport transport;
    QVFormatType format;
    const char* value;
    const char* maximum;
    std::string expected;
  };
  const Row rows[] = {
      {kIP, F::string, "'ééé'", "q:5", tooLong(6, "5")},
      {kIP, F::string, "'ééé'", "q:6", "ok"},
      {kIP, F::string, "''", "q:-1", tooLong(0, "-1")},
      // The maximum is read as a signed integer and printed as it stands.
      {kIP, F::data, "<>", "Q:18446744073709551615", tooLong(0, "18446744073709551615")},
      {kIP, F::data, "<01 02 03>", "d:2.5", tooLong(3, "2.5")},
      {kIP, F::data, "<01 02>", "d:2.5", "ok"},
      // A base-64 text counts as it stands.
      {kIP, F::data, "'AQI='", "q:2", tooLong(4, "2")},
      {kIP, F::integer, "q:1", "q:8", noLength},
      {kIP, F::integer, "null", "q:8", noLength},
      {kIP, F::array, "array", "q:8", noLength},
      {kIP, F::integer, "'1'", "q:8", "Value is not a number."},
      // Objects pass every check, no value at all included, but that is not an encoded value.
      {kIP, F::dictionary, "-", "q:8", "Value could not be serialized for this transport."},
      // Encoded input counts as the encoding of the value that it decodes to.
      {kBTLE, F::integer, "<05 00>", "q:1", "ok"},
      {kBTLE, F::integer, "<00 01>", "q:1", tooLong(2, "1")},
      {kBTLE, F::integer, "<01 02 03>", "q:1", "Invalid number of bytes provided for uint8."},
      {kBTLE, F::integer, "null", "q:1", "Value is not a number."},
      {kBTLE, F::data, "<01>", "q:1", "ok"},
  };
  for (const Row& row : rows) {
    const auto characteristic = QVCharacteristicXMLObject::initWithFormat(row.format);
    characteristic->setMaximumLength(valueOf(row.maximum)->asNumber());
    EXPECT_EQ(validated(registered(row.transport, row.format), valueOf(row.value), *characteristic),
              row.expected);
  }
}

// 300 is cut to 2c on the way; the enum knows 300 and not 2c.
TEST(QVTransformerValidationTest, EnumIsAskedLastAndAboutTheValueBeforeEncoding) {
  const auto characteristic = QVCharacteristicXMLObject::initWithFormat(F::uint8);
  characteristic->setEnumDefinition(enumOf(F::integer, {"1", "300"}));
  const auto answer = [&](const std::optional<Value>& value) {
    return validated(registered(QVTransport::btle, F::uint8), value, *characteristic);
  };
  const std::string rows =
      "q:1 -> ok; <01> -> ok; q:300 -> ok; q:44 -> Value does not conform to allowed values; "
      "<2c> -> Value does not conform to allowed values";
  EXPECT_EQ(redone(rows, answer), rows);
  characteristic->setMaximumLength(Number::int64(0));
  EXPECT_EQ(answer(Number::int64(7)),
            "Encoded value is 1 bytes, which is larger than the maximum of 0 bytes.");
}

}  // namespace
}  // namespace qv::test
