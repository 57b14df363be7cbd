#pragma once

#include <cstdint>

#include "capture/packets/packet_layer.h"
#include "capture/tcp/tcp_segment.h"

namespace qv::capture {

// The headers of an IP packet, and what follows them.
struct IPPacket {
  Endpoint source;  // without a port
  Endpoint destination;
  // What the payload is: an IP protocol number. Of a fragment, what the whole payload begins with,
  // which counts in the first fragment only.
  std::uint8_t protocol = 0;
  LayerBytes payload;

  bool isFragment = false;
  bool moreFragments = false;
  std::uint32_t fragmentOffset = 0;
  std::uint32_t identification = 0;
};

inline constexpr std::uint8_t kTCP = 6;

// Reads IPv4 (RFC 791) or IPv6 (RFC 8200), told by the version. The length on the wire is the one
// that the header gives; what stands behind it is padding. Where it gives 0, as it does for
// segments that the network card is to split, it is the packet's.
LayerResult readIPPacket(LayerBytes bytes, IPPacket& packet);

// Passes over the extension headers of IPv6 up to the protocol that they carry, or to a fragment.
LayerResult readExtensionHeaders(IPPacket& packet);

// Reads the TCP header (RFC 9293) in the payload.
LayerResult readTCPHeader(const IPPacket& packet, TCPSegment& segment);

}  // namespace qv::capture
