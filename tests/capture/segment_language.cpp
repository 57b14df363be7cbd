#include "tests/capture/segment_language.h"

#include <string>

#include "qvparsersupport/common/text_readings.h"
#include "tests/support/readable_bytes.h"

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

}  // namespace

std::size_t limitIn(const qv::test::Case& input, const std::string& name, std::size_t otherwise) {
  if (!input[0].starts_with("limits")) return otherwise;
  return static_cast<std::size_t>(numberIn(input[0], name, static_cast<double>(otherwise)));
}

void forEachSegment(const qv::test::Case& input,
                    const std::function<void(const TCPSegment&)>& take) {
  std::uint64_t number = 0;
  for (const std::string& line : input) {
    if (line.starts_with("limits")) continue;
    Packet packet = packetOf(line);
    for (std::int64_t i = 0; i < packet.times; ++i) {
      packet.segment.place.number = ++number;
      take(packet.segment);
    }
  }
}

}  // namespace qv::capture::test
