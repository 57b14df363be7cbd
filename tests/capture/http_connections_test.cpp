#include "capture/packets/http_connections.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/capture/event_dump.h"
#include "tests/capture/segment_language.h"
#include "tests/support/expectations.h"

namespace qv::capture::test {
namespace {

std::string shortened(const std::string& line) {
  constexpr std::size_t kLongest = 140;
  return line.size() <= kLongest ? line : line.substr(0, kLongest) + "...\n";
}

// What becomes of the packets. The cases are such that no connection reaches the limit alone.
std::string report(const qv::test::Case& input) {
  const HoldingLimits defaults;
  const HoldingLimits limits{limitIn(input, "held", defaults.bytes),
                             limitIn(input, "undecided", defaults.undecidedBytes),
                             limitIn(input, "without", defaults.bytesWithoutHTTP)};
  TCPConnections tcp({.connections = limitIn(input, "connections", 16384)});
  HTTPConnections http({}, {}, limits);
  std::string text;
  const auto drain = [&] {
    while (const auto event = tcp.next()) {
      http.add(*event);
      EXPECT_LE(http.heldBytes(), limits.bytes);
      while (const auto what = http.next()) text += shortened(dump(*what));
    }
  };
  forEachSegment(input, [&](const TCPSegment& segment) {
    tcp.add(segment);
    drain();
  });
  text += "end of capture\n";
  tcp.finish();
  drain();
  http.finish();
  while (const auto what = http.next()) text += dump(*what);
  EXPECT_EQ(http.heldBytes(), 0u);
  return text;
}

TEST(HTTPConnections, TellWhatTheCasesExpect) {
  qv::test::expectAnswers("tcp/http.txt", report);
}

}  // namespace
}  // namespace qv::capture::test
