#include "capture/tcp/tcp_connections.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/capture/segment_language.h"
#include "tests/support/expectations.h"
#include "tests/support/tcp_conversation.h"

namespace qv::capture::test {
namespace {

std::string lineOf(const TCPEvent& event) {
  constexpr const char* kNames[] = {"opened", "bytes", "gap", "conflict", "limited", "closed"};
  std::string text = fmt::format("{} {}", event.connection, kNames[static_cast<int>(event.kind)]);
  const bool bytes = event.kind == TCPEventKind::bytes;
  if (event.kind == TCPEventKind::opened) {
    text += fmt::format(" {}{}{}{}{}", static_cast<char>(event.first.address[3]),
                        static_cast<char>(event.second.address[3]),
                        event.firstIsPartial || event.secondIsPartial ? " partial " : "",
                        event.firstIsPartial ? ">" : "", event.secondIsPartial ? "<" : "");
  }
  if (event.firstEnded || event.secondEnded) {
    text += fmt::format(" ended {}{}", event.firstEnded ? ">" : "", event.secondEnded ? "<" : "");
  }
  if (event.givenUp) text += " given up";
  if (event.firstReset || event.secondReset) {
    text += fmt::format(" reset {}{}", event.firstReset ? ">" : "", event.secondReset ? "<" : "");
  }
  if (event.firstLate > 0) text += fmt::format(" late >{}", event.firstLate);
  if (event.secondLate > 0) text += fmt::format(" late <{}", event.secondLate);
  if (event.length > 0) {
    text += fmt::format(" {} {}+{}", event.fromFirst ? ">" : "<", event.offset, event.length);
  }
  if (bytes && event.length < 30) text += fmt::format(" \"{}\"", textOf(event.bytes));
  if (event.acknowledged) text += fmt::format(" ack {}", *event.acknowledged);
  return text + fmt::format("  #{}\n", event.place.number);
}

std::string report(const qv::test::Case& input) {
  ReassemblyLimits limits;
  limits = {limitIn(input, "direction", limits.waitingBytesPerDirection),
            limitIn(input, "total", limits.waitingBytes),
            limitIn(input, "connections", limits.connections)};
  TCPConnections connections(limits);
  std::string text;
  const auto drain = [&] {
    EXPECT_LE(connections.waitingBytes(), limits.waitingBytes);
    while (const auto event = connections.next()) text += lineOf(*event);
  };
  forEachSegment(input, [&](const TCPSegment& segment) {
    connections.add(segment);
    drain();
  });
  text += "end of capture\n";
  connections.finish();
  drain();
  EXPECT_EQ(connections.waitingBytes(), 0u);
  return text;
}

TEST(TCPConnections, TellWhatTheCasesExpect) {
  for (const char* file : {"order", "beginnings", "gaps", "ends"}) {
    qv::test::expectAnswers(fmt::format("tcp/{}.txt", file), report);
  }
}

TEST(TCPConnections, TellWhatWasSaidHoweverItWasCaptured) {
  std::mt19937 random(4711);
  const auto choose = [&](unsigned below) { return static_cast<unsigned>(random() % below); };
  for (int run = 0; run < 4000; ++run) {
    const auto conversation = qv::test::makeTCPConversation(choose, run % 2 == 0);
    ASSERT_EQ(qv::test::problemOf(conversation), "") << "run " << run;
  }
}

}  // namespace
}  // namespace qv::capture::test
