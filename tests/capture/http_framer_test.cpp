#include "capture/http/http_framer.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "tests/capture/stream_dump.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv::capture::test {
namespace {

constexpr Direction kIn = Direction::toAccessory;
constexpr Direction kOut = Direction::toController;

// Each is a folder under tests/captures/framing: the stream in readable form, and what comes of it.
struct Sample {
  const char* name;
  Direction direction;
  std::uint64_t limit = FramingLimits().messageBytes;

  std::string file(const char* kind) const {
    return std::string(QV_SOURCE_DIR "/tests/captures/framing/") + name + "/" + kind;
  }
  std::string stream() const {
    return std::string(textOf(qv::test::readableBytes(qv::test::contentOf(file("stream")))));
  }
};

const Sample kSamples[] = {
    {"pipelined-requests", kIn},
    {"responses-and-event", kOut},
    {"bare-line-ends", kIn},
    {"content-length-forms", kOut},
    {"content-length-unreadable", kIn},
    {"content-length-huge", kOut},
    {"chunk-forms", kOut},
    {"chunks-unreadable", kOut},
    {"unknown-coding", kIn},
    {"until-close", kOut},
    {"after-204", kOut},
    {"length-of-304", kOut},
    {"damage-and-tls", kOut},
    {"no-requests", kIn},
    {"cut-first-word", kOut},
    {"cut-method", kIn},
    {"cut-header", kOut},
    {"cut-chunk", kOut},
    {"cut-last-line", kOut},
    {"large-bodies", kOut, 70},
    {"large-header", kIn, 30},
};

// The stream cut after each of its bytes.
std::vector<std::size_t> cutEverywhere(std::string_view stream) {
  std::vector<std::size_t> cuts(stream.size());
  std::iota(cuts.begin(), cuts.end(), 1);
  return cuts;
}

// Whatever an item holds stands in the stream where the item says.
void expectMirrors(std::string_view stream, const std::vector<StreamItem>& items) {
  EXPECT_TRUE(accountsForEveryByte(items, stream.size()));
  for (const StreamItem& item : items) {
    const auto* message = std::get_if<FramedMessage>(&item);
    if (message == nullptr) continue;
    EXPECT_EQ(textOf(message->header),
              stream.substr(message->headerOffset, message->header.size()));
    if (!message->body) continue;
    const std::size_t size = message->body->size();
    for (std::size_t i = 0; i < size; ++i) {
      EXPECT_EQ((*message->body)[i], static_cast<std::uint8_t>(stream[message->streamOffsetOf(i)]));
    }
    EXPECT_EQ(message->streamOffsetOf(size), message->streamOffsetOf(size - 1) + 1);
    EXPECT_EQ(message->streamOffsetOf(UINT64_MAX), message->streamOffsetOf(size));
  }
}

TEST(HTTPFramer, YieldsTheItemsHoweverTheStreamIsFed) {
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.name);
    const std::string stream = sample.stream();
    const auto items = framed(sample.direction, stream, {}, {sample.limit});
    const std::string expected = dump(items);
    qv::test::expectContent(sample.file("expected.txt"), expected);
    expectMirrors(stream, items);
    std::vector<std::vector<std::size_t>> ways = {cutEverywhere(stream)};
    for (std::size_t cut = 1; cut < stream.size(); ++cut) ways.push_back({cut});
    for (const auto& cuts : ways) {
      ASSERT_EQ(dump(framed(sample.direction, stream, cuts, {sample.limit})), expected)
          << "cut at " << cuts[0];
    }
  }
}

TEST(HTTPFramer, AccountsForEveryByteOfDamagedAndCutStreams) {
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.name);
    const FramingLimits limits{sample.limit};
    const auto check = [&](const std::string& stream) {
      const auto items = framed(sample.direction, stream, {}, limits);
      expectMirrors(stream, items);
      ASSERT_EQ(dump(framed(sample.direction, stream, cutEverywhere(stream), limits)), dump(items))
          << stream;
    };
    const std::string whole = sample.stream();
    for (std::size_t i = 0; i < whole.size(); ++i) {
      check(whole.substr(0, i));
      for (const int flip : {0x01, 0x07, 0x20, 0xff}) {
        std::string stream = whole;
        stream[i] = static_cast<char>(stream[i] ^ flip);
        check(stream);
      }
    }
  }
}

// Chunks of one byte, of every form that a chunk line may have: a place costs less than its chunk.
TEST(HTTPFramer, KeepsPlacesInLessThanTheChunksTook) {
  std::string stream = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  std::vector<std::uint64_t> places;
  constexpr const char* kLines[] = {"1\n", "1\r\n", "01\r\n", "1;x=y\n"};
  for (std::size_t i = 0; i < 100000; ++i) {
    stream += i % 1000 == 999 ? "1;" + std::string(300, 'x') + "\n" : kLines[i * 7 / 5 % 4];
    places.push_back(stream.size());
    stream += i % 3 == 0 ? "x\n" : "x\r\n";
  }
  HTTPFramer framer(kOut);
  for (std::size_t at = 0; at < stream.size(); at += 1000) {
    framer.feed(bytesOf(stream).subspan(at, std::min<std::size_t>(1000, stream.size() - at)));
    ASSERT_FALSE(framer.next());
    ASSERT_LE(framer.bufferedBytes(), 8000 + 2 * at);
  }
  framer.feed(bytesOf("0\r\n\r\n"));
  const auto item = framer.next();
  const auto& message = std::get<FramedMessage>(*item);
  ASSERT_EQ(message.body->size(), places.size());
  for (std::size_t i = 0; i < places.size(); ++i) ASSERT_EQ(message.streamOffsetOf(i), places[i]);
  EXPECT_EQ(message.streamOffsetOf(places.size() + 1), places.back() + 1);
}

TEST(AccountsForEveryByte, RefusesGapsOverlapsAndPointersOutside) {
  using Change = void (*)(FramedMessage & message, Damage & damage);
  const std::pair<const char*, Change> kChanges[] = {
      {"moved", [](FramedMessage&, Damage& damage) { ++damage.offset; }},
      {"gap", [](FramedMessage&, Damage& damage) { ++damage.offset, --damage.length; }},
      {"overlap", [](FramedMessage&, Damage& damage) { --damage.offset, ++damage.length; }},
      {"short", [](FramedMessage&, Damage& damage) { --damage.length; }},
      {"late start", [](FramedMessage& message, Damage&) { ++message.beginOffset; }},
      {"no header", [](FramedMessage& message, Damage&) { message.header.clear(); }},
      {"header outside", [](FramedMessage& message, Damage&) { message.header.resize(50); }},
      {"body outside", [](FramedMessage& message, Damage&) { message.body->resize(9); }},
      {"body in the header",
       [](FramedMessage& message, Damage&) {
         message.segments = {};
         message.segments.add({0, 3});
       }},
      {"body without a place", [](FramedMessage& message, Damage&) { message.segments = {}; }},
      {"note outside",
       [](FramedMessage& message, Damage&) {
         message.notes.push_back({FramingNoteKind::bareLineFeed, "", 40, 2});
       }},
  };
  const std::string stream = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}damage";
  const auto items = framed(kOut, stream);
  ASSERT_TRUE(accountsForEveryByte(items, stream.size()));
  for (const auto& [name, change] : kChanges) {
    auto changed = items;
    change(std::get<FramedMessage>(changed.at(0)), std::get<Damage>(changed.at(1)));
    EXPECT_FALSE(accountsForEveryByte(changed, stream.size())) << name;
  }
}

}  // namespace
}  // namespace qv::capture::test
