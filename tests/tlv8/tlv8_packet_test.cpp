#include "qvparsersupport/tlv8/tlv8_packet.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "tests/tlv8/tlv8_dump.h"

namespace qv::test {
namespace {

const std::string kLengthError = "Length describes more bytes than are available.";

struct ParseRow {
  std::string input;
  std::optional<std::uint8_t> separator;
  std::string expected;
};

std::shared_ptr<QVTLV8Packet> parsed(ByteView data, std::optional<std::uint8_t> separator) {
  return separator ? QVTLV8Packet::initWithData(data, *separator)
                   : QVTLV8Packet::initWithData(data);
}

TEST(QVTLV8PacketTest, ParsesItemsInWireOrder) {
  const ParseRow rows[] = {
      {"", std::nullopt, ""},
      {"01 00", std::nullopt, "01=@0; "},
      {"06 01 03 06 01 04", std::nullopt, "06=03@0; 06=04@3; "},
      {"01 03 41 42", std::nullopt, kLengthError + " @0"},
      {"01 01 41 02", std::nullopt, "01=41@0; " + kLengthError + " @3"},
      {"01 01 41 ff 01 01 42", std::nullopt, "01=41@0; ff=01@3; " + kLengthError + " @6"},
      {"01 01 41 ff 01 01 42", 0xFF, "01=41@0; ff=-@3; 01=42@4; "},
      {"ff ff", 0xFF, "ff=-@0; ff=-@1; "},
      {"ff", std::nullopt, kLengthError + " @0"},
      // A separator counts only where a type byte is due.
      {"01 02 01 00 00 00", 0x00, "01=01 00@0; 00=-@4; 00=-@5; "},
      {"01 01 01", 0x01, "01=-@0; 01=-@1; 01=-@2; "},
  };
  for (const ParseRow& row : rows) {
    const Bytes input = bytesFromHex(row.input);
    const auto packet = parsed(input, row.separator);
    EXPECT_EQ(dump(*packet), row.expected) << row.input;
    EXPECT_EQ(packet->data(), input);
    EXPECT_EQ(packet->fields(), packet->parsedFields());
  }
}

TEST(QVTLV8PacketTest, LongestItem) {
  Bytes input = {0x07, 0xFF};
  input.resize(257, 0x2A);
  EXPECT_EQ(QVTLV8Packet::initWithData(input)->fieldWithType(7)->value()->size(), 255u);
  input.pop_back();
  EXPECT_EQ(dump(*QVTLV8Packet::initWithData(input)), kLengthError + " @0");
}

// Every cut of every sample, each from a block of exactly its size, so that a read past the end is
// seen. The fields before the cut must be those of the whole.
TEST(QVTLV8PacketTest, EveryTruncationKeepsTheFieldsBeforeTheCut) {
  const std::string samples[] = {
      "06 01 03 05 04 01 02 03 04 ff 00 01 00 03 02 aa bb",
      "00 00 00 00 00 00",
      "ff ff 01 01 41 ff 02 02 42 43",
  };
  for (const std::string& sample : samples) {
    const Bytes whole = bytesFromHex(sample);
    for (const std::optional<std::uint8_t> separator : {std::optional<std::uint8_t>(), {0xFF}}) {
      const auto reference = parsed(whole, separator);
      for (std::size_t length = 0; length <= whole.size(); ++length) {
        const auto block = std::make_unique<std::uint8_t[]>(length);
        if (length > 0) std::memcpy(block.get(), whole.data(), length);
        const auto packet = parsed({block.get(), length}, separator);
        std::size_t end = 0;
        for (std::size_t i = 0; i < packet->fields()->size(); ++i) {
          const QVTLV8Field& field = packet->fields()->at(i);
          const QVTLV8Field& same = reference->fields()->at(i);
          EXPECT_EQ(field.type(), same.type());
          EXPECT_EQ(field.offset(), end);
          ASSERT_EQ(field.value().has_value(), same.value().has_value());
          EXPECT_EQ(hexOf(field.value().value_or(ByteView())),
                    hexOf(same.value().value_or(ByteView())));
          end += field.value() ? 2 + field.value()->size() : 1;
        }
        EXPECT_EQ(packet->errorDescription().has_value(), end != length);
        EXPECT_EQ(packet->errorOffset(), end != length ? std::optional(end) : std::nullopt);
      }
    }
  }
}

TEST(QVTLV8PacketTest, FieldWithTypeAnswersTheFirstOfSeveral) {
  const auto packet = QVTLV8Packet::initWithData(bytesFromHex("06 01 03 06 01 04"));
  EXPECT_EQ(hexOf(*packet->fieldWithType(6)->value()), "03");
  EXPECT_EQ(packet->fieldWithType(1).has_value(), false);
}

TEST(QVTLV8PacketTest, FieldsOutliveThePacketAndTheBuffer) {
  QVTLV8Field kept;
  QVTLV8FieldList list;
  {
    const Bytes input = bytesFromHex("01 01 41 02 02 42 43");
    const auto packet = QVTLV8Packet::initWithData(input);
    kept = packet->fields()->back();
    list = packet->fields();
  }
  EXPECT_EQ(hexOf(*list->front().value()), "41");
  list = nullptr;
  EXPECT_EQ(hexOf(*kept.value()), "42 43");
  EXPECT_EQ(kept.offset(), 3u);
}

TEST(QVTLV8PacketTest, FieldsAreReadableAfterAMove) {
  QVTLV8Field source = QVTLV8Packet::initWithData(bytesFromHex("01 00 02 01 41"))->fields()->back();
  {
    const QVTLV8Field target = std::move(source);
    EXPECT_EQ(hexOf(*target.value()), "41");
  }
  EXPECT_EQ(hexOf(*source.value()), "41");  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(source.offset(), 2u);
}

TEST(QVTLV8PacketTest, PropertiesStayWritable) {
  const auto packet = QVTLV8Packet::initWithData(bytesFromHex("01 00"));
  packet->setData(std::nullopt);
  packet->setParsedFields(nullptr);
  packet->setErrorDescription("text");
  EXPECT_EQ(packet->data(), std::nullopt);
  EXPECT_EQ(packet->fields(), nullptr);
  EXPECT_EQ(packet->fieldWithType(1).has_value(), false);
  EXPECT_EQ(packet->errorDescription(), "text");
  packet->setData(Bytes{1, 2});
  EXPECT_EQ(packet->data(), (Bytes{1, 2}));
}

TEST(QVTLV8FieldTest, IsBuiltByHand) {
  QVTLV8Field field = QVTLV8Field::initWithType(7, std::nullopt);
  EXPECT_EQ(field.value().has_value(), false);
  field.setValue(ByteView());
  ASSERT_EQ(field.value().has_value(), true);
  EXPECT_EQ(field.value()->size(), 0u);
  field.setType(8);
  // A parsed field that is given a value of its own no longer stands in a buffer.
  QVTLV8Field parsedField =
      QVTLV8Packet::initWithData(bytesFromHex("01 00 02 01 41"))->fields()->at(1);
  EXPECT_EQ(parsedField.offset(), 2u);
  parsedField.setValue(bytesFromHex("09 08"));
  EXPECT_EQ(hexOf(*parsedField.value()), "09 08");
  EXPECT_EQ(parsedField.offset(), 0u);
}

TEST(QVTLV8FieldTest, PlainFieldHasNoTypedInterpretation) {
  std::optional<std::string> error;
  EXPECT_EQ(QVTLV8Field().objectValueWithErrorDescription(error), nullptr);
  EXPECT_EQ(error, "Unknown TLV8 field.");
}

}  // namespace
}  // namespace qv::test
