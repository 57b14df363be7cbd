// Puts hostile segments in order, or a conversation that the input splits, shuffles, repeats and
// loses parts of. Of hostile ones every direction is told without a hole, what waits stays within
// the limits, and events stand between beginning and end; of a conversation exactly what was said.
// Where the payloads are HTTP, every byte of it is told as well, whatever is given up.
//
// The input: a byte of switches (bit 0: a conversation, bit 1: with losses, of which every further
// byte is a choice). Else (bit 1: of HTTP) segments of nine bytes: flags (SYN, ACK, FIN, RST, the
// side, two bits for the connection, the last bit for numbers that are given in full), sequence and
// acknowledgement as two bytes each beyond where the stream stands, or as the high bytes of the
// number, the length of the payload, what the capture cut from it, its first byte, and the time
// that passed.

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "capture/packets/http_connections.h"
#include "capture/tcp/tcp_connections.h"
#include "fuzz/fuzz.h"
#include "tests/support/tcp_conversation.h"

namespace {

using namespace qv;
using namespace qv::capture;
using fuzz::expect;

constexpr ReassemblyLimits kLimits = {
    .waitingBytesPerDirection = 2000, .waitingBytes = 4000, .connections = 3};

// Of an input; more would be more of the same, at the price of fewer runs.
constexpr std::size_t kUsed = 400;

// What every direction was told so far.
class Account {
 public:
  void tell(const TCPEvent& event) {
    if (event.kind == TCPEventKind::opened) {
      expect(open_.emplace(event.connection, Told{}).second, "a connection begins once");
      expect(open_.size() <= kLimits.connections, "no more connections than the limit");
      return;
    }
    const auto told = open_.find(event.connection);
    expect(told != open_.end(), "an event stands between beginning and end");
    if (event.kind == TCPEventKind::closed) {
      open_.erase(told);
      return;
    }
    if (event.kind == TCPEventKind::limited) return;
    std::uint64_t& end = told->second[event.fromFirst ? 0 : 1];
    expect(event.length > 0, "a stretch has a length");
    expect(event.kind != TCPEventKind::bytes || event.bytes.size() == event.length,
           "bytes are as many as are told");
    if (event.kind == TCPEventKind::conflict) return;
    expect(event.offset == end, "a direction is told without a hole");
    end += event.length;
  }
  bool nothingOpen() const { return open_.empty(); }

 private:
  using Told = std::array<std::uint64_t, 2>;
  std::map<std::uint64_t, Told> open_;
};

// What the connections say in HTTP, within narrow limits.
class Conversations {
 public:
  void tell(const TCPEvent& event) {
    http_.add(event);
    while (const auto what = http_.next()) std::visit(*this, *what);
  }
  bool nothingHeld() const { return open_.empty() && http_.heldBytes() == 0; }

  void operator()(const ConnectionOpened& opened) {
    expect(open_.emplace(opened.connection, Told{}).second, "a conversation begins once");
  }
  void operator()(const ConnectionClosed& closed) {
    expect(open_.erase(closed.connection) == 1, "only what was opened is closed");
  }
  void operator()(const InputNote&) {}
  void operator()(const ExchangeRecord& record) {
    const auto told = open_.find(record.connection);
    expect(told != open_.end(), "a record stands between opening and closing");
    std::optional<std::uint64_t>& end = told->second[static_cast<std::size_t>(record.direction)];
    const auto* message = record.message();
    const std::uint64_t begin = message != nullptr        ? message->beginOffset
                                : record.gap() != nullptr ? record.gap()->offset
                                                          : record.damage()->offset;
    // A gap inside of a message comes before it.
    if (record.gap() != nullptr && !record.gap()->mayHideMessages) return;
    expect(!end || begin == *end, "every byte of a direction is told, whatever is given up");
    end = endOf(record.item);
  }

 private:
  using Told = std::array<std::optional<std::uint64_t>, 2>;
  HTTPConnections http_{std::nullopt,
                        {.messageBytes = 600},
                        {.bytes = 3000, .undecidedBytes = 700, .bytesWithoutHTTP = 2000}};
  std::map<std::uint64_t, Told> open_;
};

// Where the streams of one pair of ends stand, as far as the input chooses to keep to it.
using Standing = std::array<std::uint32_t, 2>;

TCPSegment segmentFrom(ByteView record, std::array<Standing, 4>& standings, const Bytes& payload) {
  TCPSegment segment;
  const std::uint8_t flags = record[0];
  const unsigned side = flags >> 4 & 1;
  const unsigned pair = flags >> 5 & 3;
  Standing& standing = standings[pair];
  segment.syn = flags & 1;
  segment.ack = flags & 2;
  segment.fin = flags & 4;
  segment.rst = flags & 8;
  segment.source.port = static_cast<std::uint16_t>(pair * 2 + side);
  segment.destination.port = static_cast<std::uint16_t>(pair * 2 + (1 - side));
  const auto number = [&](std::size_t at, std::uint32_t stands) {
    const std::uint32_t value = static_cast<std::uint32_t>(record[at] << 8 | record[at + 1]);
    return flags & 128 ? value << 16 : stands + value - (value < 0xff00 ? 0 : 0x10000);
  };
  segment.sequence = number(1, standing[side]);
  segment.acknowledgement = number(3, standing[1 - side]);
  segment.payload = ByteView(payload).subspan(record[7], record[5]);
  segment.payloadLength = segment.payload.size() + std::size_t{record[6]} * record[6];
  standing[side] =
      segment.sequence + static_cast<std::uint32_t>(segment.payloadLength) + (segment.syn ? 1 : 0);
  return segment;
}

// What the payloads of hostile segments are taken from.
Bytes payloadOf(bool isHTTP) {
  constexpr std::string_view kMessages =
      "GET /a HTTP/1.1\r\n\r\nHTTP/1.1 204 No Content\r\n\r\nPUT /b HTTP/1.1\r\nContent-Length: "
      "400\r\n"
      "\r\n{}EVENT/1.0 200 OK\r\nContent-Length: 2\r\n\r\n{}HTTP/1.1 200 OK\r\nTransfer-Encoding: "
      "chunked\r\n\r\n1\r\n{\r\n01\n}\n0\r\n\r\nHTTP/1.1 200 OK\r\n\r\nX: ";
  Bytes bytes(512);
  std::ranges::generate(bytes, [next = std::uint8_t{0}]() mutable { return next++ / 2; });
  if (isHTTP) std::ranges::copy(bytesOf(kMessages), bytes.begin());
  return bytes;
}

void runHostile(ByteView input, bool isHTTP) {
  constexpr std::size_t kRecord = 9;
  static const std::array<Bytes, 2> payloads = {payloadOf(false), payloadOf(true)};
  const Bytes& payload = payloads[isHTTP ? 1 : 0];
  std::optional<Conversations> conversations;
  if (isHTTP) conversations.emplace();
  TCPConnections connections(kLimits);
  Account account;
  std::array<Standing, 4> standings{};
  std::int64_t time = 0;
  const auto drain = [&] {
    while (const auto event = connections.next()) {
      account.tell(*event);
      if (conversations) conversations->tell(*event);
    }
  };
  for (std::uint64_t number = 1; input.size() >= kRecord; ++number) {
    TCPSegment segment = segmentFrom(input, standings, payload);
    time += std::int64_t{input[8]} * 10'000'000;
    segment.place.number = number;
    if (input[8] != 0xff) segment.place.timeNs = time;
    connections.add(segment);
    expect(connections.waitingBytes() <= kLimits.waitingBytes, "what waits is within the limits");
    drain();
    input = input.subspan(kRecord);
  }
  connections.finish();
  drain();
  expect(account.nothingOpen(), "every connection ends");
  expect(!conversations || conversations->nothingHeld(), "what was held is told at the end");
  expect(connections.waitingBytes() == 0, "nothing waits at the end");
}

void runConversation(ByteView choices, bool lossy) {
  const auto choose = [&](unsigned below) -> unsigned {
    if (choices.empty()) return 0;
    const unsigned choice = choices.front() % below;
    choices = choices.subspan(1);
    return choice;
  };
  auto conversation = qv::test::makeTCPConversation(choose, lossy);
  const bool long_ = conversation.told[0].size() > 200 && conversation.told[1].size() > 200;
  if (fuzz::planted(conversation.shuffled && long_)) conversation.told[1].back() = '!';
  const std::string problem = qv::test::problemOf(conversation);
  expect(problem.empty(), problem.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const ByteView input(data + 1, std::min(size - 1, kUsed));
  if (data[0] & 1) {
    runConversation(input, data[0] & 2);
  } else {
    runHostile(input, data[0] & 2);
  }
  return 0;
}
