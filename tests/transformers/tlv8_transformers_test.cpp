#include "qvparsersupport/transformers/tlv8_transformers.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/expectations.h"
#include "tests/transformers/definition_builders.h"
#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

using F = QVFormatType;

const QVTLV8Transformer& transformer() {
  return dynamic_cast<const QVTLV8Transformer&>(registered(QVTransport::ip, F::tlv8));
}

std::shared_ptr<QVTLV8Packet> packetOf(std::string_view hex) {
  return QVTLV8Packet::initWithData(bytesFromHex(hex));
}

std::shared_ptr<QVTLV8MutablePacket> builderOf(std::uint8_t type, std::optional<ByteView> value) {
  auto packet = QVTLV8MutablePacket::init();
  packet->appendField(QVTLV8Field::initWithType(type, value));
  return packet;
}

// Packets that lost their bytes or their list of fields.
std::shared_ptr<QVTLV8Packet> emptied() {
  const auto packet = packetOf("01 00");
  packet->setData(std::nullopt);
  return packet;
}

std::shared_ptr<QVTLV8Packet> withoutList() {
  const auto packet = packetOf("07 00");
  packet->setParsedFields(nullptr);
  return packet;
}

TEST(QVTLV8TransformerTest, Encodes) {
  const auto answer = [](const auto& value) { return encoded(transformer(), value); };
  const std::string rows =
      "- -> null; null -> - | Value is not a TLV8.; <01 05> -> <01 05>; "
      "'AQA=' -> - | Value is not a TLV8.; q:1 -> - | Value is not a TLV8.";
  EXPECT_EQ(redone(rows, answer), rows);
  const std::pair<std::shared_ptr<QVTLV8Packet>, std::string> packets[] = {
      {packetOf("01 01 41 02"), "<01 01 41 02>"},
      {emptied(), "-"},
      {builderOf(6, bytesFromHex("03")), "<06 01 03>"},
      {builderOf(6, Bytes(257)), "- | Too many bytes provided in value for type 0x06"},
  };
  for (const auto& [packet, expected] : packets) EXPECT_EQ(answer(Value::object(packet)), expected);
}

TEST(QVTLV8TransformerTest, MutablePacketThatSerialisesClearsTheSlot) {
  std::optional<std::string> error = "earlier";
  transformer().transformValue(Value::bytes(bytesFromHex("01 00")), &error);
  EXPECT_EQ(error, "earlier");
  transformer().transformValue(Value::object(builderOf(6, std::nullopt)), &error);
  EXPECT_EQ(error, std::nullopt);
}

TEST(QVTLV8TransformerTest, DecodesBytesAndStrictBase64OrAnswersNullWithoutAText) {
  const std::string error = "Length describes more bytes than are available.";
  const std::string broken = "packet{01=@0, " + error + " @2} | " + error;
  const std::string rows =
      "<06 01 03> -> packet{06=03@0}; <> -> packet{}; 'BgED' -> packet{06=03@0}; '' -> packet{}; "
      "<01 00 02> -> " +
      broken + "; 'AQAC' -> " + broken +
      "; 'BgED\n' -> -; 'BgE' -> -; 'BgE_' -> -; null -> -; - -> -; q:1 -> -";
  EXPECT_EQ(redone(rows, [](const auto& value) { return decoded(transformer(), value); }), rows);
  EXPECT_EQ(decoded(transformer(), Value::object(packetOf("01 00"))), "-");
}

TEST(QVTLV8TransformerTest, ValidatesTheCharacteristic) {
  const auto accepting = QVCharacteristicXMLObject::initWithFormat(F::tlv8);
  accepting->setTlv8Definition(tlv8Of({fieldOf(6, F::uint8)}));
  // Limits of the whole value are not looked at.
  accepting->setMaximumLength(Number::int64(0));
  accepting->setEnumDefinition(enumOf(F::integer, {"1"}));
  const auto undefined = QVCharacteristicXMLObject::initWithFormat(F::tlv8);
  const auto refusing = QVCharacteristicXMLObject::initWithFormat(F::uint8);
  const auto nullFields = QVCharacteristicXMLObject::initWithFormat(F::tlv8);
  nullFields->setTlv8Definition(std::make_shared<QVTLV8XMLObject>());
  const std::string unparsed =
      "Error parsing TLV8 data: Length describes more bytes than are available.";
  const std::string unknown = "<06 01 03> -> Unknown field type 0x06 provided in TLV8.";
  const std::pair<const QVCharacteristicXMLObject&, std::string> rows[] = {
      {*accepting, "<06 01 03> -> ok; <> -> ok; <06 01 03 06> -> " + unparsed +
                       "; 'BgED' -> Value is not a TLV8 packet.; null -> Value is not a TLV8 "
                       "packet.; - -> Value is not a TLV8 packet.; <06 02 00 00> -> Field 0x06 is "
                       "invalid: Invalid length 2 for uint8"},
      // What is no packet is told before the format is looked at.
      {*refusing, "<06> -> " + unparsed +
                      "; c:1 -> Value is not a TLV8 packet.; <06 01 03> -> "
                      "Provided TLV8 but characteristic does not accept TLV8s."},
      {*undefined, unknown + "; <ff 00> -> ok"},
      {*nullFields, unknown},
  };
  for (const auto& row : rows) {
    const auto answer = [&](const auto& value) {
      return validated(transformer(), value, row.first);
    };
    EXPECT_EQ(redone(row.second, answer), row.second);
  }
  // The parse error of a packet is its holder's business; its fields are what is checked.
  for (const auto& packet : {packetOf("06 01 03 06"), withoutList()}) {
    EXPECT_EQ(validated(transformer(), Value::object(packet), *accepting), "ok");
  }
  const auto builder = Value::object(builderOf(6, bytesFromHex("03 04")));
  EXPECT_EQ(validated(transformer(), builder, *accepting),
            "Field 0x06 is invalid: Invalid length 2 for uint8");
}

TEST(QVTLV8TransformerTest, FirstFaultSaysWhatAndWhere) {
  const auto definition = tlv8Of({
      nullptr,
      fieldOf(0, F::string, Number::int64(3)),
      fieldOf(0, F::uint8),  // never found: the first of a type counts
      fieldOf(1, F::uint8, std::nullopt, enumOf(F::integer, {"1", "2"})),
      fieldOf(2, F::tlv8, Number::int64(-1)),
      fieldOf(0xCD, F::date),
      fieldOf(0xEF, F::data),
      fieldOf(5, F::integer, Number::int64(1)),
      fieldOf(6, F::floatingPoint),
  });
  // The fault's field and rule, its definition's place in the list, text, expected and actual.
  const auto answer = [&](const QVTLV8Packet& packet) -> std::string {
    const auto fault = transformer().firstFault(packet, *definition);
    std::optional<std::string> error = "untouched";
    EXPECT_EQ(transformer().validateValue(packet, *definition, &error), !fault);
    EXPECT_EQ(error, fault ? fault->text : "untouched");
    if (!fault) return "ok";
    const auto& list = *definition->fields();
    const auto place = std::find(list.begin() + 1, list.end(), fault->definition) - list.begin();
    return fmt::format("{} {} {} {} | {} | {}", fault->fieldIndex, fault->rule, place, fault->text,
                       fault->expected, fault->actual);
  };
  expectAnswers("codings/first-faults.txt", [&](const Case& input) {
    return answer(*QVTLV8Packet::initWithData(*valueOf(input[0])->asBytes()));
  });
  EXPECT_EQ(answer(*builderOf(6, Bytes(20))),
            "0 tlv8.field-value 8 Field 0x06 is invalid: Invalid number of bytes provided for "
            "float. | 4 bytes | 20 bytes: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ...");
  EXPECT_EQ(answer(*builderOf(0xEF, std::nullopt)),
            "0 tlv8.field-value 6 Field 0xef is invalid: (null) | a value | no value");
}

TEST(QVTLV8TransformerTest, SeparatorTypePassesDefinedOrNot) {
  const auto packet = packetOf("ff 01 00");
  EXPECT_TRUE(transformer().validateValue(*packet, *tlv8Of({})));
  EXPECT_TRUE(transformer().validateValue(*packet, *tlv8Of({fieldOf(0xFF, F::uint64)})));
}

TEST(QVTLV8TransformerTest, ValidatesOneFieldValue) {
  const auto& strings =
      dynamic_cast<const QVTLV8Transformer&>(registered(QVTransport::tlv8, F::string));
  const auto restricted = fieldOf(1, F::string, Number::int64(2), enumOf(F::string, {"ab"}));
  const auto answer = [&](const QVTLV8Transformer& asked, const std::optional<Value>& value) {
    std::optional<std::string> error = "ok";
    const bool isValid = asked.validateValue(value, *restricted, &error);
    EXPECT_EQ(isValid, error == "ok");
    return error;
  };
  const std::string rows =
      "'ab' -> ok; 'abc' -> Encoded value is 3 bytes, which is larger than the maximum of 2 bytes."
      "; 'ac' -> Value does not conform to allowed values; "
      "c:1 -> Value cannot be encoded to a string.";
  EXPECT_EQ(redone(rows, [&](const auto& value) { return *answer(strings, value); }), rows);
  EXPECT_EQ(answer(transformer(), std::nullopt), "Encoded value does not have an inherent length.");
  EXPECT_EQ(answer(transformer(), Value::object(emptied())),
            "Value could not be serialized for this transport.");
}

}  // namespace
}  // namespace qv::test
