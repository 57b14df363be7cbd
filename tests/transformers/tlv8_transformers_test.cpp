#include "qvparsersupport/transformers/tlv8_transformers.h"

#include <gtest/gtest.h>

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

TEST(QVTLV8TransformerTest, Encodes) {
  const auto emptied = packetOf("01 00");
  emptied->setData(std::nullopt);
  const std::pair<std::optional<Value>, std::string> rows[] = {
      {std::nullopt, "null"},
      {Value(), "- | Value is not a TLV8."},
      {bytesValue("01 05"), "<01 05>"},
      {Value::object(packetOf("01 01 41 02")), "<01 01 41 02>"},
      {Value::object(emptied), "-"},
      {Value::object(builderOf(6, bytesFromHex("03"))), "<06 01 03>"},
      {Value::object(builderOf(6, Bytes(256))),
       "- | Too many bytes provided in value for type 0x06"},
      {Value::string("AQA="), "- | Value is not a TLV8."},
      {Number::int64(1), "- | Value is not a TLV8."},
  };
  for (const auto& [input, expected] : rows) EXPECT_EQ(encoded(transformer(), input), expected);
}

TEST(QVTLV8TransformerTest, MutablePacketThatSerialisesClearsTheSlot) {
  std::optional<std::string> error = "earlier";
  transformer().transformValue(bytesValue("01 00"), &error);
  EXPECT_EQ(error, "earlier");
  transformer().transformValue(Value::object(builderOf(6, std::nullopt)), &error);
  EXPECT_EQ(error, std::nullopt);
}

TEST(QVTLV8TransformerTest, DecodesBytesAndStrictBase64OrAnswersNullWithoutAText) {
  const std::string error = "Length describes more bytes than are available.";
  const std::pair<std::optional<Value>, std::string> rows[] = {
      {bytesValue("06 01 03"), "packet{06=03@0; }"},
      {bytesValue(""), "packet{}"},
      {Value::string("BgED"), "packet{06=03@0; }"},
      {Value::string(""), "packet{}"},
      {bytesValue("01 00 02"), "packet{01=@0; " + error + " @2} | " + error},
      {Value::string("AQAC"), "packet{01=@0; " + error + " @2} | " + error},
      {Value::string("BgED\n"), "-"},
      {Value::string("BgE"), "-"},
      {Value::string("BgE_"), "-"},
      {Value(), "-"},
      {std::nullopt, "-"},
      {Number::int64(1), "-"},
      {Value::object(packetOf("01 00")), "-"},
  };
  for (const auto& [input, expected] : rows) EXPECT_EQ(decoded(transformer(), input), expected);
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
  const auto withoutList = packetOf("07 00");
  withoutList->setParsedFields(nullptr);

  const std::string notAPacket = "Value is not a TLV8 packet.";
  const std::string refused = "Provided TLV8 but characteristic does not accept TLV8s.";
  const std::string unknown = "Unknown field type 0x06 provided in TLV8.";
  const std::string unparsed =
      "Error parsing TLV8 data: Length describes more bytes than are available.";
  struct Row {
    const char* name;
    const QVCharacteristicXMLObject& characteristic;
    std::optional<Value> value;
    std::string expected;
  };
  const Row rows[] = {
      {"bytes", *accepting, bytesValue("06 01 03"), "ok"},
      {"packet", *accepting, Value::object(packetOf("06 01 03")), "ok"},
      {"builder", *accepting, Value::object(builderOf(6, bytesFromHex("03"))), "ok"},
      {"empty", *accepting, bytesValue(""), "ok"},
      {"no field list", *accepting, Value::object(withoutList), "ok"},
      // The parse error of a packet is its holder's business; its fields are what is checked.
      {"broken packet", *accepting, Value::object(packetOf("06 01 03 06")), "ok"},
      {"broken bytes", *accepting, bytesValue("06 01 03 06"), unparsed},
      {"broken bytes before the format", *refusing, bytesValue("06"), unparsed},
      {"string", *accepting, Value::string("BgED"), notAPacket},
      {"null", *accepting, Value(), notAPacket},
      {"no value", *accepting, std::nullopt, notAPacket},
      {"other format", *refusing, bytesValue("06 01 03"), refused},
      {"no packet before the format", *refusing, Number::int8(1), notAPacket},
      {"bad field", *accepting, bytesValue("06 02 00 00"),
       "Field 0x06 is invalid: Invalid length 2 for uint8"},
      {"no definition", *undefined, bytesValue("06 01 03"), unknown},
      {"no definition, nothing to find", *undefined, bytesValue("ff 00"), "ok"},
      {"no field definitions", *nullFields, bytesValue("06 01 03"), unknown},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(validated(transformer(), row.value, row.characteristic), row.expected) << row.name;
  }
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
  const std::string nulls =
      "Reverse transform of data failed because string information contained null characters";
  struct Row {
    std::shared_ptr<QVTLV8Packet> packet;
    std::string expected;  // index, rule, definition's place in the list, text, expected, actual
  };
  const Row rows[] = {
      {packetOf(""), "ok"},
      {packetOf("00 03 41 42 43 01 01 02 00 00 ef 02 aa bb ff 01 00"), "ok"},
      {packetOf("01 01 01 ab 00 01 00"),
       "1 tlv8.unknown-field - Unknown field type 0xab provided in TLV8. | a field type of the "
       "structure | 0xab"},
      {packetOf("cd 00"),
       "0 tlv8.unknown-format 5 Unknown TLV8 field format for field 0xcd | a format that a TLV8 "
       "field can have | format 9"},
      {packetOf("00 00 00 03 41 00 42"),
       "1 tlv8.field-value 1 Field 0x00 is invalid: " + nulls +
           " | UTF-8 text without null characters | 3 bytes: 41 00 42"},
      {packetOf("01 00"),
       "0 tlv8.field-value 3 Field 0x01 is invalid: Invalid length 0 for uint8 | 1 byte | 0 bytes"},
      {builderOf(6, Bytes(20)),
       "0 tlv8.field-value 8 Field 0x06 is invalid: Invalid number of bytes provided for float. | "
       "4 bytes | 20 bytes: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ..."},
      {builderOf(0xEF, std::nullopt),
       "0 tlv8.field-value 6 Field 0xef is invalid: (null) | a value | no value"},
      {packetOf("00 04 41 42 43 44"),
       "0 tlv8.field-length 1 Field 0x00 is invalid: Encoded value is 4 bytes, which is larger "
       "than the maximum of 3 bytes. | at most 3 bytes | 4 bytes"},
      {packetOf("02 00"),
       "0 tlv8.field-length 4 Field 0x02 is invalid: Encoded value is 0 bytes, which is larger "
       "than the maximum of -1 bytes. | at most -1 bytes | 0 bytes"},
      // The limit applies to the encoding of the decoded number, not to what came in.
      {packetOf("05 02 05 00"), "ok"},
      {packetOf("05 02 ff ff"),
       "0 tlv8.field-length 7 Field 0x05 is invalid: Encoded value is 2 bytes, which is larger "
       "than the maximum of 1 bytes. | at most 1 byte | 2 bytes"},
      {packetOf("01 01 03"),
       "0 tlv8.field-enum 3 Field 0x01 is invalid: Value does not conform to allowed values | a "
       "value of the enum Mode | 3"},
  };
  const auto describe = [&](const QVTLV8Fault& fault) {
    std::string place = "-";
    for (std::size_t i = 0; i < definition->fields()->size(); ++i) {
      if (fault.definition != nullptr && definition->fields()->at(i) == fault.definition) {
        place = std::to_string(i);
      }
    }
    return fmt::format("{} {} {} {} | {} | {}", fault.fieldIndex, fault.rule, place, fault.text,
                       fault.expected, fault.actual);
  };
  for (const Row& row : rows) {
    const auto fault = transformer().firstFault(*row.packet, *definition);
    EXPECT_EQ(fault ? describe(*fault) : "ok", row.expected);
    std::optional<std::string> error = "untouched";
    EXPECT_EQ(transformer().validateValue(*row.packet, *definition, &error), !fault);
    EXPECT_EQ(error, fault ? fault->text : "untouched");
  }
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
  struct Row {
    const QVTLV8Transformer& transformer;
    std::optional<Value> value;
    std::string expected;
  };
  const auto emptied = packetOf("01 00");
  emptied->setData(std::nullopt);
  const Row rows[] = {
      {strings, Value::string("ab"), "ok"},
      {strings, Value::string("abc"),
       "Encoded value is 3 bytes, which is larger than the maximum of 2 bytes."},
      {strings, Value::string("ac"), "Value does not conform to allowed values"},
      {strings, Number::int8(1), "Value cannot be encoded to a string."},
      {transformer(), std::nullopt, "Encoded value does not have an inherent length."},
      {transformer(), Value::object(emptied), "Value could not be serialized for this transport."},
  };
  for (const Row& row : rows) {
    std::optional<std::string> error = "ok";
    EXPECT_EQ(row.transformer.validateValue(row.value, *restricted, &error), row.expected == "ok");
    EXPECT_EQ(error, row.expected);
  }
}

}  // namespace
}  // namespace qv::test
