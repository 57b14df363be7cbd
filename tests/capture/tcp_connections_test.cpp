#include "capture/tcp_connections.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "qvparsersupport/common/text_readings.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"
#include "tests/support/tcp_conversation.h"

namespace qv::capture::test {
namespace {

Endpoint endpoint(char letter) {
  Endpoint end;
  end.address = {192, 0, 2, static_cast<std::uint8_t>(letter)};
  end.port = 80;
  return end;
}

char peerOf(char letter) {
  return static_cast<char>(letter % 2 ? letter + 1 : letter - 1);
}

double numberIn(const std::string& line, const std::string& name, double otherwise) {
  const auto at = line.find(" " + name + "=");
  return at == std::string::npos ? otherwise : doubleReading(line.substr(at + name.size() + 2));
}

// A packet of a case file.
struct Packet {
  TCPSegment segment;
  Bytes payload;
  std::int64_t times = 1;
};

Packet packetOf(const std::string& line) {
  const auto quote = line.find('"');
  const auto unquote = line.rfind('"');
  const std::string front = line.substr(0, quote);
  const std::string back = quote == std::string::npos ? line : line.substr(unquote + 1);
  const auto flag = [&](const char* name) { return front.find(name) != std::string::npos; };
  const auto star = back.rfind('*');
  const std::int64_t times = star == std::string::npos ? 1 : integerReading(back.substr(star + 1));
  Packet packet;
  TCPSegment& segment = packet.segment;
  segment.source = endpoint(line[0]);
  segment.destination = endpoint(peerOf(line[0]));
  segment.sequence = static_cast<std::uint32_t>(numberIn(front, "seq", 0));
  segment.acknowledgement = static_cast<std::uint32_t>(numberIn(front, "ack", 0));
  segment.syn = flag("syn");
  segment.ack = flag("ack");
  segment.fin = flag("fin");
  segment.rst = flag("rst");
  if (quote != std::string::npos) {
    const Bytes text = qv::test::readableBytes(line.substr(quote + 1, unquote - quote - 1));
    // Behind the quote at once it repeats the text, else the packet.
    for (std::int64_t i = 0; i < (star == 0 ? times : 1); ++i) {
      packet.payload.insert(packet.payload.end(), text.begin(), text.end());
    }
  }
  if (star != 0) packet.times = times;
  segment.payload = packet.payload;
  const auto size = static_cast<double>(packet.payload.size());
  segment.payloadLength = static_cast<std::size_t>(numberIn(back, "wire", size));
  const double seconds = numberIn(line, "at", -1);
  if (seconds != -1) segment.place.timeNs = static_cast<std::int64_t>(seconds * 1e9);
  return packet;
}

std::string lineOf(const TCPEvent& event) {
  constexpr const char* kNames[] = {"opened", "bytes", "gap", "conflict", "limited", "closed"};
  std::string text = fmt::format("{} {}", event.connection, kNames[static_cast<int>(event.kind)]);
  const bool bytes = event.kind == TCPEventKind::bytes;
  if (event.kind == TCPEventKind::opened) {
    text += fmt::format(" {}{}{}{}{}", static_cast<char>(event.first.address[3]),
                        static_cast<char>(event.second.address[3]),
                        event.partialStart ? " partial " : "", event.firstIsPartial ? ">" : "",
                        event.secondIsPartial ? "<" : "");
  }
  if (event.firstEnded || event.secondEnded) {
    text += fmt::format(" ended {}{}", event.firstEnded ? ">" : "", event.secondEnded ? "<" : "");
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
  if (input[0].starts_with("limits")) {
    const auto limit = [&](const char* name, std::size_t otherwise) {
      return static_cast<std::size_t>(numberIn(input[0], name, static_cast<double>(otherwise)));
    };
    limits = {limit("direction", limits.waitingBytesPerDirection),
              limit("total", limits.waitingBytes), limit("connections", limits.connections)};
  }
  TCPConnections connections(limits);
  std::string text;
  const auto drain = [&] {
    while (const auto event = connections.next()) text += lineOf(*event);
  };
  std::uint64_t number = 0;
  for (const std::string& line : input) {
    if (line.starts_with("limits")) continue;
    Packet packet = packetOf(line);
    for (std::int64_t i = 0; i < packet.times; ++i) {
      packet.segment.place.number = ++number;
      connections.add(packet.segment);
      drain();
    }
  }
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
