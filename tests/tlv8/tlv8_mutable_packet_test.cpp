#include <fmt/format.h>
#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "qvparsersupport/tlv8/tlv8_packet.h"
#include "tests/tlv8/tlv8_dump.h"

namespace qv::test {
namespace {

Bytes countingBytes(std::size_t length) {
  Bytes bytes(length);
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  return bytes;
}

std::shared_ptr<QVTLV8MutablePacket> packetOf(std::uint8_t type, std::size_t length) {
  auto packet = QVTLV8MutablePacket::init();
  packet->appendField(QVTLV8Field::initWithType(type, countingBytes(length)));
  return packet;
}

// The lengths of the items that the output holds; checks that they carry the type and, joined, the
// value.
std::vector<std::size_t> itemLengths(ByteView output, std::uint8_t type, ByteView value) {
  std::vector<std::size_t> lengths;
  Bytes joined;
  const auto packet = QVTLV8Packet::initWithData(output);
  EXPECT_EQ(packet->errorDescription(), std::nullopt);
  for (const QVTLV8Field& field : *packet->fields()) {
    EXPECT_EQ(field.type(), type);
    lengths.push_back(field.value()->size());
    joined.insert(joined.end(), field.value()->begin(), field.value()->end());
  }
  EXPECT_EQ(joined, Bytes(value.begin(), value.end()));
  return lengths;
}

TEST(QVTLV8MutablePacketTest, SerialisesFieldsInOrder) {
  const auto packet = QVTLV8MutablePacket::init();
  EXPECT_EQ(packet->data(), Bytes());
  packet->appendField(QVTLV8Field::initWithType(6, bytesFromHex("03")));
  packet->appendField(QVTLV8Field::initWithType(0xFF, std::nullopt));
  packet->appendField(QVTLV8Field::initWithType(6, ByteView()));
  const QVTLV8FieldList copy = packet->fields();
  packet->appendField(QVTLV8Field::initWithType(1, bytesFromHex("41 42")));
  std::optional<std::string> error = "earlier";
  EXPECT_EQ(hexOf(*packet->dataWithErrorDescription(&error)), "06 01 03 ff 00 06 00 01 02 41 42");
  EXPECT_EQ(error, std::nullopt);  // cleared, not left untouched
  EXPECT_EQ(copy->size(), 3u);
  EXPECT_EQ(packet->mutableFields().size(), 4u);
}

TEST(QVTLV8MutablePacketTest, FieldWithTypeAnswersNullWhateverWasAppended) {
  const auto packet = packetOf(6, 1);
  EXPECT_EQ(packet->fieldWithType(6).has_value(), false);
  EXPECT_EQ(packet->parsedFields(), nullptr);
  EXPECT_EQ(packet->errorDescription(), std::nullopt);
}

TEST(QVTLV8MutablePacketTest, WithoutCoalescingEveryValueIsOneItemOrFails) {
  for (std::size_t length = 0; length <= 600; ++length) {
    const auto packet = packetOf(0xAB, length);
    std::optional<std::string> error;
    const auto data = packet->dataWithErrorDescription(&error);
    if (length <= 255) {
      EXPECT_EQ(itemLengths(data.value(), 0xAB, countingBytes(length)), std::vector{length});
    } else {
      EXPECT_EQ(data, std::nullopt);
      EXPECT_EQ(packet->data(), std::nullopt);
      EXPECT_EQ(error, "Too many bytes provided in value for type 0xab");
    }
  }
}

// The items of some lengths by hand; for all lengths, the rule that the header states.
TEST(QVTLV8MutablePacketTest, CoalescingCutsLaterItemsByTheLowByteOfTheWholeLength) {
  const std::map<std::size_t, std::vector<std::size_t>> byHand = {{0, {0}},
                                                                  {1, {1}},
                                                                  {255, {255}},
                                                                  {256, {}},
                                                                  {257, {255, 1, 1}},
                                                                  {258, {}},
                                                                  {300, {}},
                                                                  {510, {}},
                                                                  {512, {}},
                                                                  {513, {255, 255, 1, 1, 1}},
                                                                  {514, {255, 255, 2, 2}},
                                                                  {515, {}},
                                                                  {771, {255, 255, 255, 3, 3}}};
  for (std::size_t length = 0; length <= 3000; ++length) {
    const std::size_t rest = length <= 255 ? length : (length - 1) % 255 + 1;
    const std::size_t low = length % 256;
    std::optional<std::string> error = "earlier";
    const auto data = packetOf(0xA7, length)->dataUsingAutomaticFieldCoalescing(true, &error);
    std::vector<std::size_t> items;
    if (data) items = itemLengths(*data, 0xA7, countingBytes(length));
    if (byHand.contains(length)) {
      EXPECT_EQ(items, byHand.at(length)) << length;
    }
    if (length <= 255 || (low != 0 && rest % low == 0)) {
      EXPECT_EQ(items.size(), (length - rest) / 255 + (low == 0 ? 1 : rest / low)) << length;
      EXPECT_EQ(items.empty() ? 0 : items.back(), low) << length;
      EXPECT_EQ(error, std::nullopt);
    } else {
      EXPECT_EQ(data, std::nullopt) << length;
      EXPECT_EQ(error, fmt::format("Value of {} bytes for type 0xa7 cannot be divided into items",
                                   length));
    }
  }
}

}  // namespace
}  // namespace qv::test
