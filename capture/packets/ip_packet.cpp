#include "capture/packets/ip_packet.h"

#include <algorithm>

#include "capture/packets/wire_numbers.h"

namespace qv::capture {
namespace {

constexpr LayerResult kOther{LayerOutcome::otherKind, ""};
constexpr LayerResult kIPCut{LayerOutcome::unreadable, "its IP header is cut short"};
constexpr LayerResult kIPMalformed{LayerOutcome::unreadable, "its IP header is malformed"};
constexpr LayerResult kTCPCut{LayerOutcome::unreadable, "its TCP header is cut short"};
constexpr LayerResult kTCPMalformed{LayerOutcome::unreadable, "its TCP header is malformed"};

// A packet that does not tell its length cannot be longer.
constexpr std::size_t kLongestPacket = std::size_t{1} << 20;

// Cuts off what the packet was padded with. A length of 0 is that of the packet.
LayerBytes limited(LayerBytes bytes, std::size_t length) {
  if (length == 0) length = std::min(bytes.length, kLongestPacket);
  return {bytes.captured.first(std::min(bytes.captured.size(), length)), length};
}

constexpr std::uint8_t kFragmentHeader = 44;
constexpr std::uint8_t kAuthentication = 51;  // RFC 4302

// Hop-by-hop options, routing, authentication, destination options, mobility.
bool isExtensionHeader(std::uint8_t protocol) {
  return protocol == 0 || protocol == 43 || protocol == kAuthentication || protocol == 60 ||
         protocol == 135;
}

void readAddress(ByteView bytes, std::size_t offset, bool isIPv6, Endpoint& endpoint) {
  endpoint = {};
  endpoint.isIPv6 = isIPv6;
  std::copy_n(bytes.data() + offset, isIPv6 ? 16 : 4, endpoint.address.data());
}

LayerResult readIPv4(LayerBytes bytes, IPPacket& packet) {
  const ByteView header = bytes.captured;
  if (header.size() < 20) return kIPCut;
  const std::size_t headerLength = std::size_t{4} * (header[0] & 0xf);
  const std::size_t totalLength = network16(header, 2);
  if (headerLength < 20 || (totalLength != 0 && totalLength < headerLength)) return kIPMalformed;
  if (header.size() < headerLength) return kIPCut;
  packet.protocol = header[9];
  packet.payload = limited(bytes, totalLength).behind(headerLength);
  const std::uint16_t fragment = network16(header, 6);
  packet.moreFragments = (fragment & 0x2000) != 0;
  packet.fragmentOffset = std::uint32_t{8} * (fragment & 0x1fffu);
  packet.isFragment = packet.moreFragments || packet.fragmentOffset != 0;
  packet.identification = network16(header, 4);
  if (packet.protocol != kTCP) return kOther;
  readAddress(header, 12, false, packet.source);
  readAddress(header, 16, false, packet.destination);
  return {};
}

LayerResult readIPv6(LayerBytes bytes, IPPacket& packet) {
  constexpr std::size_t kHeader = 40;
  const ByteView header = bytes.captured;
  if (header.size() < kHeader) return kIPCut;
  const std::size_t payloadLength = network16(header, 4);
  packet.protocol = header[6];
  packet.payload = limited(bytes.behind(kHeader), payloadLength);
  packet.isFragment = false;
  readAddress(header, 8, true, packet.source);
  readAddress(header, 24, true, packet.destination);
  return readExtensionHeaders(packet);
}

}  // namespace

LayerResult readIPPacket(LayerBytes bytes, IPPacket& packet) {
  if (bytes.captured.empty()) return kIPCut;
  switch (bytes.captured[0] >> 4) {
    case 4:
      return readIPv4(bytes, packet);
    case 6:
      return readIPv6(bytes, packet);
    default:
      return kIPMalformed;
  }
}

LayerResult readExtensionHeaders(IPPacket& packet) {
  for (;;) {
    const ByteView header = packet.payload.captured;
    std::size_t length = 8;
    if (packet.protocol == kTCP) return {};
    if (packet.protocol == kFragmentHeader) {
      if (header.size() < length) return kIPCut;
      packet.fragmentOffset = network16(header, 2) & 0xfff8u;
      packet.moreFragments = (header[3] & 1) != 0;
      packet.identification = network32(header, 4);
      packet.isFragment = packet.moreFragments || packet.fragmentOffset != 0;
    } else if (isExtensionHeader(packet.protocol)) {
      if (header.size() < 2) return kIPCut;
      length = packet.protocol == kAuthentication ? 4 * (std::size_t{header[1]} + 2)
                                                  : 8 * (std::size_t{header[1]} + 1);
    } else {
      return kOther;
    }
    if (packet.payload.length < length) return kIPMalformed;
    if (header.size() < length) return kIPCut;
    packet.protocol = header[0];
    packet.payload = packet.payload.behind(length);
    // What follows in a fragment can be read when its packet is whole.
    if (packet.isFragment) {
      return packet.protocol == kTCP || isExtensionHeader(packet.protocol) ? LayerResult{} : kOther;
    }
  }
}

LayerResult readTCPHeader(const IPPacket& packet, TCPSegment& segment) {
  constexpr std::size_t kShortest = 20;
  constexpr std::size_t kUpToFlags = 14;
  const ByteView header = packet.payload.captured;
  if (packet.payload.length < kShortest) return kTCPMalformed;
  if (header.size() < kUpToFlags) return kTCPCut;
  const std::size_t headerLength = std::size_t{4} * (header[12] >> 4);
  if (headerLength < kShortest || headerLength > packet.payload.length) return kTCPMalformed;
  segment.source = packet.source;
  segment.source.port = network16(header, 0);
  segment.destination = packet.destination;
  segment.destination.port = network16(header, 2);
  segment.sequence = network32(header, 4);
  segment.acknowledgement = network32(header, 8);
  const std::uint8_t flags = header[13];
  segment.fin = (flags & 1) != 0;
  segment.syn = (flags & 2) != 0;
  segment.rst = (flags & 4) != 0;
  segment.ack = (flags & 16) != 0;
  segment.payload = header.subspan(std::min(header.size(), headerLength));
  segment.payloadLength = packet.payload.length - headerLength;
  return {};
}

}  // namespace qv::capture
