#include "capture/packets/link_layers.h"

#include "capture/packets/wire_numbers.h"

namespace qv::capture {
namespace {

constexpr LayerResult kOther{LayerOutcome::otherKind, ""};
constexpr LayerResult kCut{LayerOutcome::unreadable, "its link-layer header is cut short"};

// A header that ends with, or holds, the EtherType of what follows it.
struct TypedHeader {
  std::size_t size;
  std::size_t typeOffset;
};

// EtherTypes (IEEE 802 numbers).
constexpr std::uint16_t kIPv4 = 0x0800;
constexpr std::uint16_t kIPv6 = 0x86dd;

LayerResult readTyped(TypedHeader header, LayerBytes& packet) {
  for (;;) {
    if (packet.captured.size() < header.size) return kCut;
    const std::uint16_t type = network16(packet.captured, header.typeOffset);
    packet = packet.behind(header.size);
    switch (type) {
      case kIPv4:
      case kIPv6:
        return {};
      case 0x8100:  // VLAN tags: IEEE 802.1Q, 802.1ad, and what was used before 802.1ad
      case 0x88a8:
      case 0x9100:
        header = {.size = 4, .typeOffset = 2};
        break;
      case 0x8864:
        return {LayerOutcome::notReadHere, "PPPoE"};
      case 0x8847:
      case 0x8848:
        return {LayerOutcome::notReadHere, "MPLS"};
      default:
        return kOther;
    }
  }
}

// The family stands in the byte order of the host that captured, or in network byte order.
LayerResult readLoopback(LayerBytes& packet) {
  if (packet.captured.size() < 4) return kCut;
  std::uint32_t family = network32(packet.captured, 0);
  if (family > 0xffff) family = numberAt<std::uint32_t>(packet.captured, 0, false);
  packet = packet.behind(4);
  switch (family) {
    case 2:   // AF_INET
    case 10:  // AF_INET6 of Linux, NetBSD and OpenBSD, FreeBSD, Darwin
    case 24:
    case 28:
    case 30:
      return {};
    default:
      return kOther;
  }
}

}  // namespace

LayerResult readLinkLayer(std::uint32_t linkType, LayerBytes& packet) {
  switch (linkType) {
    case 1:
      return readTyped({.size = 14, .typeOffset = 12}, packet);
    case 113:  // LINUX_SLL
      return readTyped({.size = 16, .typeOffset = 14}, packet);
    case 276:  // LINUX_SLL2
      return readTyped({.size = 20, .typeOffset = 0}, packet);
    case 0:    // NULL
    case 108:  // LOOP
      return readLoopback(packet);
    case 12:  // RAW, of which systems have different numbers
    case 14:
    case 101:
    case 228:  // IPV4
    case 229:  // IPV6
      return {};
    default:
      return {LayerOutcome::notReadHere, "its link layer is not known"};
  }
}

}  // namespace qv::capture
