#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <tuple>

#include "capture/packets/ip_packet.h"
#include "capture/packets/packet_layer.h"
#include "capture/tcp/tcp_segment.h"
#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

struct FragmentLimits {
  std::size_t packets = 1024;                // that wait for fragments at once
  std::size_t bytes = std::size_t{4} << 20;  // that they hold
};

// How often something happened, and to which packet first.
struct PacketCount {
  std::uint64_t count = 0;
  CapturePlace first;

  void add(const CapturePlace& place) {
    if (count++ == 0) first = place;
  }
};

// Puts fragmented IP packets together (RFC 791 section 3.2, RFC 8200 section 4.5). Fragments may
// come in any order and more than once; of two that overlap the first one counts and the other is
// refused. What does not get whole within the limits, or within a minute of the capture, is given
// up.
class IPFragments {
 public:
  explicit IPFragments(FragmentLimits limits = {}) : limits_(limits) {}

  // Takes the fragment in. Answers `read` when it completes its packet, which then stands in
  // `packet`, its payload valid until the next call; `otherKind` when others are to come.
  LayerResult add(IPPacket& packet, const CapturePlace& place);

  // The capture ends: what still waits is given up.
  void finish();
  // Packets given up because fragments did not come, and because of the limits; `first` is the
  // place of the first fragment that did.
  const PacketCount& incomplete() const { return incomplete_; }
  const PacketCount& overLimits() const { return overLimits_; }

 private:
  using Address = std::array<std::uint8_t, 16>;
  struct Key {
    Address source;
    Address destination;
    std::uint32_t identification;
    bool isIPv6;
    friend bool operator<(const Key& a, const Key& b) {
      return std::tie(a.source, a.destination, a.identification, a.isIPv6) <
             std::tie(b.source, b.destination, b.identification, b.isIPv6);
    }
  };
  struct Piece {
    Bytes captured;
    std::size_t length = 0;  // on the wire
  };
  struct Partial {
    Key key;
    CapturePlace place;
    std::map<std::size_t, Piece> pieces;    // by their offset, none overlaps another
    std::optional<std::size_t> length;      // known from the last fragment
    std::size_t received = 0;               // of the length on the wire
    std::size_t held = 0;                   // bytes of memory
    std::optional<std::uint8_t> protocol;   // known from the first fragment
    std::optional<CapturePlace> completed;  // then it is kept to refuse what is repeated
  };
  using Partials = std::list<Partial>;  // in the order of their first fragments

  Partials::iterator partialOf(const Key& key, const CapturePlace& place);
  void giveUp(Partials::iterator partial, PacketCount& reason);
  void keepWithinLimits();
  void assemble(Partial& partial, IPPacket& packet);

  FragmentLimits limits_;
  Partials partials_;
  std::map<Key, Partials::iterator> index_;
  std::size_t held_ = 0;
  Bytes assembled_;
  PacketCount incomplete_;
  PacketCount overLimits_;
};

}  // namespace qv::capture
