#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/capture/stream_dump.h"

namespace qv::capture::test {
namespace {

// The limit on messages, what a framer may hold with a message of that size, and what it may hold
// of anything else.
constexpr std::uint64_t kLimit = std::uint64_t{1} << 20;
constexpr std::uint64_t kMuch = 5 * kLimit;
constexpr std::uint64_t kLittle = kLimit / 4;

constexpr Direction kIn = Direction::toAccessory;
constexpr Direction kOut = Direction::toController;
const std::string kOK = "HTTP/1.1 200 OK\r\n";
const std::string kChunked = kOK + "Transfer-Encoding: chunked\r\n\r\n";
const std::string kNoContent = "HTTP/1.1 204 No Content\r\n\r\n";

// A head, then a pattern again and again, then a tail; never in memory as a whole.
struct Shape {
  const char* name;
  Direction direction;
  std::string head;
  std::string pattern;
  std::uint64_t times;
  std::string tail;
  std::uint64_t items;
  std::uint64_t mostBuffered;
  std::size_t pieceSize = 65536;
};

const Shape kShapes[] = {
    {"pipelined requests", kIn, "", "GET / HTTP/1.1\r\n\r\n", 250000, "", 250000, kLittle},
    {"header fields, beyond the limit", kOut, kOK, "a: b\r\n", 250000, "\r\n", 2, kMuch},
    {"fields byte by byte", kOut, kOK, "a:b\r", 75000, "\r", 1, kMuch, 1},
    {"framing fields without end", kOut, kOK, "Content-Length: 1,\n", 50000, "\nx", 1, kMuch},
    {"chunks, beyond the limit", kOut, kChunked, "1\r\nx\r\n", 250000, "0\r\n\r\n", 1, kMuch},
    {"chunks of one byte", kOut, kChunked, "1\r\nx\r\n", 125000, "0\r\n\r\n", 1, kMuch},
    {"trailers", kOut, kChunked + "0\r\n", "a: b\r\n", 250000, "\r\n", 1, kLittle},
    {"damage without a line end", kOut, "?", "HTTP/1.EVENT/1.", kLimit / 4, "", 1, kLittle},
    {"a method and its target", kIn, "?GET ", "x", 4 * kLimit, "", 1, kLittle},
    {"methods without end", kIn, "?", "GET /a HTTP/1.", kLimit / 4, "", 1, kLittle},
    {"start line without a line end", kIn, "GET ", "x", 4 * kLimit, "", 2, kMuch},
    {"chunk size without a line end", kOut, kChunked, "0", 4 * kLimit, "", 2, kLittle},
    {"empty lines after a 204", kOut, kNoContent, "\r\n", 2 * kLimit, kNoContent, 2, kLittle},
    {"stray body", kOut, kNoContent, "{}\r\n", kLimit, kNoContent, 2, kMuch},
    {"announced body", kOut, kOK + "Content-Length: 16777216\r\n\r\n", "HTTP/1.1", 2 * kLimit,
     kNoContent, 2, kMuch},
};

TEST(HTTPFramer, HoldsNoMoreThanAMessageOfTheLimit) {
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(shape.name);
    HTTPFramer framer(shape.direction, {.messageBytes = kLimit});
    std::uint64_t items = 0;
    std::uint64_t position = 0;
    std::size_t mostBuffered = 0;
    const auto drain = [&] {
      mostBuffered = std::max(mostBuffered, framer.bufferedBytes());
      while (const auto item = framer.next()) {
        ++items;
        const auto* message = std::get_if<FramedMessage>(&*item);
        const auto* damage = std::get_if<Damage>(&*item);
        EXPECT_EQ(message != nullptr ? message->beginOffset : damage->offset, position);
        position = message != nullptr ? message->endOffset : damage->offset + damage->length;
      }
      mostBuffered = std::max(mostBuffered, framer.bufferedBytes());
    };
    const auto feed = [&](std::string_view text) {
      for (; !text.empty(); text.remove_prefix(std::min(text.size(), shape.pieceSize))) {
        framer.feed(bytesOf(text.substr(0, shape.pieceSize)));
        drain();
      }
    };
    feed(shape.head);
    const std::uint64_t perBlock = 65536 / shape.pattern.size();
    for (std::uint64_t left = shape.times; left > 0; left -= std::min(left, perBlock)) {
      std::string block;
      for (std::uint64_t i = std::min(left, perBlock); i > 0; --i) block += shape.pattern;
      feed(block);
    }
    feed(shape.tail);
    framer.finish();
    drain();
    EXPECT_EQ(items, shape.items);
    EXPECT_EQ(position, shape.head.size() + shape.pattern.size() * shape.times + shape.tail.size());
    EXPECT_LE(mostBuffered, shape.mostBuffered);
  }
}

}  // namespace
}  // namespace qv::capture::test
