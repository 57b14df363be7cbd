#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "capture/tcp/tcp_connections.h"

namespace qv::test {

// What two sides said over TCP, and the packets as a capture has them: in pieces of every size,
// shuffled a little, some twice, some pieces sent again with other borders, and some lost or
// without the SYNs.
struct TCPConversation {
  struct Packet {
    capture::TCPSegment segment;
    std::int64_t acknowledged = 0;
    std::size_t order = 0;
  };
  std::array<Bytes, 2> streams;     // payloads point into them
  std::array<std::string, 2> told;  // what is to be told of them, '?' for what was lost
  std::vector<Packet> packets;
  bool shuffled = false;
  bool partial = false;  // the capture begins behind the SYNs
};

// `choose(n)` answers a number below n.
template <class Choose>
TCPConversation makeTCPConversation(const Choose& choose, bool lossy) {
  constexpr std::size_t kPieces = 60;
  constexpr std::size_t kPiece = 30;
  static const std::array<Bytes, 2> whole = [] {
    std::array<Bytes, 2> streams;
    for (std::size_t at = 0; at < 2 * kPieces * kPiece; ++at) {
      const std::size_t letter = (at * 7 + at / 26) % 26;
      streams[at % 2].push_back(static_cast<std::uint8_t>((at % 2 ? 'a' : 'A') + letter));
    }
    return streams;
  }();
  TCPConversation result;
  std::array<std::uint32_t, 2> begins{};
  std::array<capture::Endpoint, 2> ends{};
  for (const unsigned side : {0U, 1U}) {
    begins[side] = choose(2) ? 1000 + choose(50) : 0U - choose(50);
    ends[side].port = static_cast<std::uint16_t>(80 + side);
    result.streams[side] = whole[side];
  }
  std::array<std::size_t, 2> sent{};
  std::vector<std::array<std::size_t, 2>> history;
  history.reserve(kPieces + 4);
  result.packets.reserve(2 * kPieces);
  const auto send = [&](unsigned side, std::size_t from, std::size_t to) -> capture::TCPSegment& {
    TCPConversation::Packet packet;
    packet.segment.source = ends[side];
    packet.segment.destination = ends[1 - side];
    packet.segment.sequence = begins[side] + static_cast<std::uint32_t>(from);
    packet.segment.ack = true;
    packet.segment.acknowledgement = begins[1 - side] + static_cast<std::uint32_t>(sent[1 - side]);
    packet.acknowledged = static_cast<std::int64_t>(sent[1 - side]);
    packet.segment.payload = ByteView(result.streams[side]).subspan(from, to - from);
    packet.segment.payloadLength = to - from;
    packet.order = history.size() + choose(4);
    sent[side] = std::max(sent[side], to);
    history.push_back(sent);
    result.packets.push_back(packet);
    return result.packets.back().segment;
  };
  for (const unsigned side : {0U, 1U}) {
    capture::TCPSegment& segment = send(side, 0, 0);
    segment.syn = true;
    segment.ack = side == 1;
    --segment.sequence;
  }
  for (std::size_t left = choose(kPieces); left > 0; --left) {
    const unsigned side = choose(2);
    // Only what was sent a moment ago is sent again.
    const std::size_t recent =
        history[history.size() - std::min<std::size_t>(3, history.size())][side];
    const bool again = choose(4) == 0;
    const std::size_t from =
        again ? recent + choose(static_cast<unsigned>(sent[side] - recent) + 1) : sent[side];
    send(side, from, std::max(from + choose(kPiece), again ? 0 : from + 1));
  }
  for (const unsigned side : {0U, 1U}) send(side, sent[side], sent[side]).fin = true;

  for (std::size_t count = result.packets.size(), index = 0; index < count; index += 2) {
    if (choose(4) > 0) continue;
    result.packets.push_back(result.packets[index]);
    result.packets.back().order = index + choose(4);
  }
  result.shuffled = !std::ranges::is_sorted(result.packets, {}, &TCPConversation::Packet::order);
  std::ranges::stable_sort(result.packets, {}, &TCPConversation::Packet::order);
  result.partial = !lossy && choose(3) == 2;
  if (result.partial) {
    std::erase_if(result.packets,
                  [](const TCPConversation::Packet& packet) { return packet.segment.syn; });
  }
  std::erase_if(result.packets, [&](const TCPConversation::Packet& packet) {
    return lossy && !packet.segment.syn && !packet.segment.fin && choose(6) == 0;
  });
  for (const unsigned side : {0U, 1U}) result.told[side].assign(sent[side], '?');
  std::uint64_t number = 0;
  for (TCPConversation::Packet& packet : result.packets) {
    packet.segment.place.number = ++number;
    const unsigned side = packet.segment.source == ends[0] ? 0 : 1;
    const auto at =
        static_cast<std::size_t>(packet.segment.payload.data() - result.streams[side].data());
    if (packet.segment.payload.empty()) continue;
    std::ranges::copy(packet.segment.payload,
                      result.told[side].begin() + static_cast<std::ptrdiff_t>(at));
  }
  return result;
}

// What is wrong with what is told of the conversation; empty when nothing is.
inline std::string problemOf(const TCPConversation& conversation) {
  capture::TCPConnections connections;
  std::array<std::string, 2> told;
  std::string problem;
  bool closed = false;
  bool swapped = false;
  const auto drain = [&] {
    while (const auto event = connections.next()) {
      std::string& stream = told[event->fromFirst == swapped ? 1 : 0];
      if (event->connection != 1 || closed) problem = "something stands after the end";
      switch (event->kind) {
        case capture::TCPEventKind::opened:
          swapped = event->first.port != 80;
          if ((event->firstIsPartial || event->secondIsPartial) != conversation.partial ||
              (swapped && !conversation.partial)) {
            problem = "the beginning is wrong";
          }
          break;
        case capture::TCPEventKind::bytes: {
          const auto& packet = conversation.packets.at(event->place.number - 1);
          if (event->acknowledged != packet.acknowledged) problem = "an acknowledgement is wrong";
          if (event->offset != stream.size()) problem = "an offset is wrong";
          stream += textOf(event->bytes);
          break;
        }
        case capture::TCPEventKind::gap:
          stream.append(event->length, '?');
          break;
        case capture::TCPEventKind::closed:
          closed = true;
          break;
        default:
          problem = "a conflict or a limit";
      }
    }
  };
  for (const auto& packet : conversation.packets) {
    // A copy of its own, gone right after: what waits has to be copied.
    const auto copy = std::make_unique_for_overwrite<std::uint8_t[]>(packet.segment.payload.size());
    std::ranges::copy(packet.segment.payload, copy.get());
    capture::TCPSegment segment = packet.segment;
    segment.payload = ByteView(copy.get(), segment.payload.size());
    connections.add(segment);
    drain();
  }
  connections.finish();
  drain();
  if (!closed) problem = "the connection is not closed";
  if (told != conversation.told) {
    problem = "told\n" + told[0] + "\n" + told[1] + "\nand not\n" + conversation.told[0] + "\n" +
              conversation.told[1];
  }
  return problem;
}

}  // namespace qv::test
