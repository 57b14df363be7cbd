#include "capture/http_framer.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "tests/capture/stream_dump.h"

namespace qv::capture::test {
namespace {

constexpr Direction kIn = Direction::toAccessory;
constexpr Direction kOut = Direction::toController;

struct Sample {
  const char* name;
  Direction direction;
  std::string stream;
  std::string items;
  std::uint64_t limit = FramingLimits().messageBytes;
};

const Sample kSamples[] = {
    {"pipelined requests", kIn,
     "GET /accessories HTTP/1.1\r\nHost: a\r\n\r\n"
     "POST /pairings HTTP/1.1\r\nContent-Length: 3\r\n\r\n\x06\x01\x01"
     "POST /identify HTTP/1.1\r\n\r\n",
     "request [0,38) header [0,36) none\n"
     "request [38,87) header [38,82) contentLength \"\x06\x01\x01\" 0@84\n"
     "request [87,114) header [87,112) none\n"},
    {"responses and an event", kOut,
     "HTTP/1.1 100 Continue\r\n\r\n"
     "HTTP/1.1 200 OK\r\ncontent-length: 2\r\n\r\n{}"
     "EVENT/1.0 200 OK\r\nContent-Length: 2\r\n\r\n[]"
     "HTTP/1.1 204 No Content\r\n\r\n",
     "informational [0,25) header [0,23) none\n"
     "response [25,65) header [25,61) contentLength \"{}\" 0@63\n"
     "event [65,106) header [65,102) contentLength \"[]\" 0@104\n"
     "response [106,133) header [106,131) none\n"},
};

TEST(HTTPFramer, YieldsTheItemsHoweverTheStreamIsFed) {
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.name);
    const FramingLimits limits{sample.limit};
    const auto items = framed(sample.direction, sample.stream, {}, limits);
    EXPECT_EQ(dump(items), sample.items);
    EXPECT_TRUE(accountsForEveryByte(items, sample.stream.size()));
    for (std::size_t cut = 1; cut < sample.stream.size(); ++cut) {
      ASSERT_EQ(dump(framed(sample.direction, sample.stream, {cut}, limits)), sample.items)
          << "cut at " << cut;
    }
    std::vector<std::size_t> everyByte(sample.stream.size());
    std::iota(everyByte.begin(), everyByte.end(), 1);
    EXPECT_EQ(dump(framed(sample.direction, sample.stream, everyByte, limits)), sample.items);
  }
}

}  // namespace
}  // namespace qv::capture::test
