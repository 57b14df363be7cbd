#include "capture/http/stream_pair_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "capture/http/stream_items.h"
#include "capture/io/byte_source.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv::capture::test {
namespace {

std::shared_ptr<ByteStreamItems> streamOf(Direction direction, std::string_view text) {
  const ByteView bytes = bytesOf(text);
  auto source = std::make_shared<MemorySource>(Bytes(bytes.begin(), bytes.end()), 7);
  return std::make_shared<ByteStreamItems>(source, direction);
}

std::string startLineOf(const FramedMessage& message) {
  const std::string_view header = textOf(message.header);
  return std::string(header.substr(0, header.find('\r')));
}

// One line for each record: what it is, then the request that it is or answers.
std::string report(std::string_view requests, std::string_view responses) {
  StreamPairReader pairing(streamOf(Direction::toAccessory, requests),
                           streamOf(Direction::toController, responses));
  std::string text;
  while (const auto record = pairing.nextRecord()) {
    if (const Damage* damage = record->damage()) {
      text += "damage: " + damage->text + "\n";
      continue;
    }
    text += startLineOf(*record->message());
    if (record->requestIndex) text += " #" + std::to_string(*record->requestIndex);
    if (record->answers) text += " -> #" + std::to_string(*record->answers);
    if (record->pairingUncertain) text += " uncertain";
    if (!record->unpairedReason.empty()) text += ": " + std::string(record->unpairedReason);
    text += "\n";
  }
  return text;
}

TEST(ExchangePairing, YieldsTheRecords) {
  qv::test::expectAnswers("pairing.txt", [](const qv::test::Case& input) {
    std::string streams[2];
    for (const std::string& line : input) {
      streams[line[0] == '<'] += textOf(qv::test::readableBytes(line.substr(2)));
    }
    return report(streams[0], streams[1]);
  });
}

// However much is added, what waits is bounded, and what is over comes out and is not judged.
TEST(ExchangePairing, HoldsNoMoreThanItSays) {
  struct Row {
    Direction direction;
    std::size_t bodyBytes;
    std::size_t mostHeld;
    std::size_t left;  // of 3000, how many still wait
  };
  constexpr std::size_t kBytes = std::size_t{1} << 20;
  const Row kRows[] = {
      {Direction::toAccessory, 0, 256 * 1200, 256},
      {Direction::toAccessory, 10000, kBytes + 120 * 1200, 104},
      {Direction::toController, 0, 256 * 1200, 256},
      {Direction::toController, 10000, kBytes + 120 * 1200, 104},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.bodyBytes);
    const bool isRequest = row.direction == Direction::toAccessory;
    ExchangePairing pairing;
    const auto add = [&](Direction direction, std::uint64_t offset, std::int64_t acknowledged) {
      FramedMessage message;
      message.direction = direction;
      message.kind =
          direction == Direction::toAccessory ? MessageKind::request : MessageKind::response;
      message.beginOffset = offset;
      message.endOffset = offset + 1;
      message.header.resize(20);
      message.body.emplace(row.bodyBytes);
      pairing.add(direction, std::move(message), {}, acknowledged);
    };
    std::size_t given = 0;
    for (std::uint64_t i = 0; i < 3000; ++i) {
      add(row.direction, i, isRequest ? 0 : static_cast<std::int64_t>(i + 1));
      ASSERT_LE(pairing.heldBytes(), row.mostHeld);
      while (const auto record = pairing.next()) {
        given += isRequest ? 3000 - row.left == record->oldestOpenRequest : 1;
        EXPECT_EQ(record->pairingUncertain, !isRequest);
      }
    }
    EXPECT_EQ(given, isRequest ? 1 : 3000 - row.left);
    // The response to a request that was given up, which may be any.
    if (isRequest) add(Direction::toController, 0, 1);
    const auto record = pairing.next();
    EXPECT_EQ(record && record->pairingUncertain, isRequest);
    pairing.giveUp();
    EXPECT_EQ(pairing.heldBytes(), 0u);
  }
}

}  // namespace
}  // namespace qv::capture::test
