#include "qvparsersupport/tlv8/tlv8_packet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/tlv8/tlv8_dump.h"

namespace qv::test {
namespace {

const std::string kLengthError = "Length describes more bytes than are available.";

std::shared_ptr<QVTLV8Packet> parsed(ByteView data,
                                     std::optional<std::uint8_t> separator = std::nullopt) {
  return separator ? QVTLV8Packet::initWithData(data, *separator)
                   : QVTLV8Packet::initWithData(data);
}

TEST(QVTLV8PacketTest, ParsesItemsInWireOrder) {
  struct Row {
    const char* input;
    std::string expected;
    std::optional<std::uint8_t> separator;
  };
  const Row rows[] = {
      {"", "", {}},
      {"06 01 03 06 00", "06=03@0, 06=@3", {}},
      {"01 03 41 42", kLengthError + " @0", {}},
      {"01 01 41 ff 01 01 42", "01=41@0, ff=01@3, " + kLengthError + " @6", {}},
      {"01 01 41 ff 01 01 42", "01=41@0, ff=-@3, 01=42@4", 0xFF},
      {"ff ff", "ff=-@0, ff=-@1", 0xFF},
      {"ff", kLengthError + " @0", {}},
      // A separator counts only where a type byte is due.
      {"01 02 01 00 00 00", "01=01 00@0, 00=-@4, 00=-@5", 0x00},
  };
  for (const Row& row : rows) {
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
  EXPECT_EQ(parsed(input)->fieldWithType(7)->value()->size(), 255u);
  input.pop_back();
  EXPECT_EQ(dump(*parsed(input)), kLengthError + " @0");
}

// Every cut of every sample, each from a block of exactly its size, so that a read past the end is
// seen. The fields before the cut must be those of the whole.
TEST(QVTLV8PacketTest, EveryTruncationKeepsTheFieldsBeforeTheCut) {
  for (const char* sample : {"06 01 03 05 04 01 02 03 04 ff 00 01 00 03 02 aa bb",
                             "00 00 00 00 00 00", "ff ff 01 01 41 ff 02 02 42 43"}) {
    const Bytes whole = bytesFromHex(sample);
    for (const std::optional<std::uint8_t> separator : {std::optional<std::uint8_t>(), {0xFF}}) {
      const std::string fields = dump(*parsed(whole, separator)) + ", ";
      for (std::size_t length = 0; length <= whole.size(); ++length) {
        const auto block = std::make_unique<std::uint8_t[]>(length);
        std::copy_n(whole.begin(), length, block.get());
        const auto packet = parsed({block.get(), length}, separator);
        std::size_t end = 0;
        for (const QVTLV8Field& field : *packet->fields()) {
          end += field.value() ? 2 + field.value()->size() : 1;
        }
        EXPECT_EQ(packet->errorOffset(), end != length ? std::optional(end) : std::nullopt);
        EXPECT_EQ(packet->errorDescription().has_value(), end != length);
        packet->setErrorDescription(std::nullopt);
        const std::string kept = dump(*packet);
        EXPECT_TRUE(kept.empty() || fields.starts_with(kept + ", ")) << kept << " of " << fields;
      }
    }
  }
}

TEST(QVTLV8PacketTest, FieldWithTypeAnswersTheFirstOfSeveral) {
  const auto packet = parsed(bytesFromHex("06 01 03 06 01 04"));
  EXPECT_EQ(hexOf(*packet->fieldWithType(6)->value()), "03");
  EXPECT_EQ(packet->fieldWithType(1).has_value(), false);
}

TEST(QVTLV8PacketTest, FieldsOutliveThePacketAndTheBuffer) {
  QVTLV8FieldList list = parsed(bytesFromHex("01 01 41 02 02 42 43"))->fields();
  EXPECT_EQ(hexOf(*list->front().value()), "41");
  QVTLV8Field kept = list->back();
  list = nullptr;
  {
    const QVTLV8Field moved = std::move(kept);
    EXPECT_EQ(hexOf(*moved.value()), "42 43");
  }
  // A field is readable after a move.
  EXPECT_EQ(hexOf(*kept.value()), "42 43");  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(kept.offset(), 3u);
}

TEST(QVTLV8PacketTest, PropertiesStayWritable) {
  const auto packet = parsed(bytesFromHex("01 00"));
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
  std::optional<std::string> error;
  EXPECT_EQ(field.objectValueWithErrorDescription(error), nullptr);
  EXPECT_EQ(error, "Unknown TLV8 field.");
  // A parsed field that is given a value of its own no longer stands in a buffer.
  field = parsed(bytesFromHex("01 00 02 01 41"))->fields()->at(1);
  EXPECT_EQ(field.offset(), 2u);
  field.setValue(bytesFromHex("09 08"));
  field.setType(8);
  EXPECT_EQ(hexOf(*field.value()), "09 08");
  EXPECT_EQ(field.type(), 8);
  EXPECT_EQ(field.offset(), 0u);
}

}  // namespace
}  // namespace qv::test
