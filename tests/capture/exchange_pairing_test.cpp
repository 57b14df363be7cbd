#include "capture/stream_pair_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "capture/byte_source.h"
#include "capture/stream_items.h"
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

}  // namespace
}  // namespace qv::capture::test
