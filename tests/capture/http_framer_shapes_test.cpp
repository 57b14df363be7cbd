#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "capture/byte_source.h"
#include "capture/http_framer.h"

namespace qv::capture::test {
namespace {

constexpr std::uint64_t kMega = std::uint64_t{1} << 20;

// A stream that is never in memory as a whole: a head, then a pattern again and again, then a tail.
class PatternSource : public ByteSource {
 public:
  PatternSource(std::string head, std::string pattern, std::uint64_t times, std::string tail,
                std::size_t pieceSize)
      : text_(std::move(head)),
        pattern_(std::move(pattern)),
        tail_(std::move(tail)),
        times_(times),
        pieceSize_(pieceSize) {}

  std::size_t read(std::span<std::uint8_t> destination) override {
    while (position_ == text_.size()) {
      if (ended_) return 0;
      refill();
    }
    const std::size_t count = std::min({destination.size(), pieceSize_, text_.size() - position_});
    std::copy_n(text_.begin() + static_cast<std::ptrdiff_t>(position_), count, destination.begin());
    position_ += count;
    return count;
  }

 private:
  void refill() {
    text_.clear();
    position_ = 0;
    ended_ = times_ == 0;
    if (ended_) text_ = tail_;
    for (; times_ > 0 && text_.size() < 65536; --times_) text_ += pattern_;
  }

  std::string text_;
  std::string pattern_;
  std::string tail_;
  std::uint64_t times_;
  std::size_t pieceSize_;
  std::size_t position_ = 0;
  bool ended_ = false;
};

struct Shape {
  const char* name;
  Direction direction;
  std::string head;
  std::string pattern;
  std::uint64_t times;
  std::string tail;
  std::uint64_t items;
  std::uint64_t mostBuffered;
  std::size_t pieceSize = SIZE_MAX;
};

constexpr Direction kIn = Direction::toAccessory;
constexpr Direction kOut = Direction::toController;
const std::string kOK = "HTTP/1.1 200 OK\r\n";
const std::string kChunked = kOK + "Transfer-Encoding: chunked\r\n\r\n";
const std::string kNoContent = "HTTP/1.1 204 No Content\r\n\r\n";

// The limit on messages is 4 MiB here.
const Shape kShapes[] = {
    {"a million pipelined requests", kIn, "", "GET / HTTP/1.1\r\n\r\n", 1000000, "", 1000000,
     kMega},
    {"a million header fields, beyond the limit", kOut, kOK, "a: b\r\n", 1000000, "\r\n", 2,
     20 * kMega},
    {"fields byte by byte", kOut, kOK, "a:b\r", 300000, "\r", 1, 20 * kMega, 1},
    {"framing fields without end", kOut, kOK, "Content-Length: 1,\n", 200000, "\nx", 1, 20 * kMega},
    {"a million chunks of one byte, beyond the limit", kOut, kChunked, "1\r\nx\r\n", 1000000,
     "0\r\n\r\n", 1, 20 * kMega},
    {"half a million chunks", kOut, kChunked, "1\r\nx\r\n", 500000, "0\r\n\r\n", 1, 20 * kMega},
    {"a million trailers", kOut, kChunked + "0\r\n", "a: b\r\n", 1000000, "\r\n", 1, kMega},
    {"16 MiB without a line end: damage", kOut, "?", "HTTP/1.EVENT/1.", 16 * kMega / 15, "", 1,
     kMega},
    {"16 MiB without a line end: a method and its target", kIn, "?GET ", "x", 16 * kMega, "", 1,
     kMega},
    {"methods without end", kIn, "?", "GET /a HTTP/1.", kMega, "", 1, kMega},
    {"16 MiB without a line end: start line", kIn, "GET ", "x", 16 * kMega, "", 2, 20 * kMega},
    {"16 MiB without a line end: chunk size", kOut, kChunked, "0", 16 * kMega, "", 2, kMega},
    {"16 MiB of empty lines after a 204", kOut, kNoContent, "\r\n", 8 * kMega, kNoContent, 2,
     kMega},
    {"16 MiB of stray body", kOut, kNoContent, "{}\r\n", 4 * kMega, kNoContent, 2, 20 * kMega},
    {"64 MiB of announced body", kOut, kOK + "Content-Length: 67108864\r\n\r\n", "HTTP/1.1",
     8 * kMega, kNoContent, 2, 20 * kMega},
};

TEST(HTTPFramer, HoldsNoMoreThanAMessageOfTheLimit) {
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(shape.name);
    PatternSource source(shape.head, shape.pattern, shape.times, shape.tail, shape.pieceSize);
    HTTPFramer framer(shape.direction, {.messageBytes = 4 * kMega});
    Bytes piece(65536);
    std::uint64_t items = 0;
    std::uint64_t position = 0;
    std::size_t mostBuffered = 0;
    for (std::size_t count = 1; count > 0;) {
      count = source.read(piece);
      count > 0 ? framer.feed(ByteView(piece).first(count)) : framer.finish();
      mostBuffered = std::max(mostBuffered, framer.bufferedBytes());
      while (const auto item = framer.next()) {
        ++items;
        const auto* message = std::get_if<FramedMessage>(&*item);
        const auto* damage = std::get_if<Damage>(&*item);
        EXPECT_EQ(message != nullptr ? message->beginOffset : damage->offset, position);
        position = message != nullptr ? message->endOffset : damage->offset + damage->length;
      }
      mostBuffered = std::max(mostBuffered, framer.bufferedBytes());
    }
    EXPECT_EQ(items, shape.items);
    EXPECT_EQ(position, shape.head.size() + shape.pattern.size() * shape.times + shape.tail.size());
    EXPECT_LE(mostBuffered, shape.mostBuffered);
  }
}

}  // namespace
}  // namespace qv::capture::test
