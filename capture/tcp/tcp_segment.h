#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// One end of a TCP connection.
struct Endpoint {
  // Network byte order; an IPv4 address takes the first four bytes, the others are 0.
  std::array<std::uint8_t, 16> address{};
  bool isIPv6 = false;
  std::uint16_t port = 0;

  // "192.0.2.7:51826", "[2001:db8::7]:51826" (RFC 5952 without the mixed notation).
  QV_EXPORT std::string text() const;
  friend bool operator==(const Endpoint&, const Endpoint&) = default;
  friend bool operator<(const Endpoint& a, const Endpoint& b) {
    return std::tie(a.address, a.isIPv6, a.port) < std::tie(b.address, b.isIPv6, b.port);
  }
};

// Where something stood in a capture that has numbered parts: packets, entries, lines.
struct CapturePlace {
  std::uint64_t number = 0;            // from 1; 0 when the capture has no such parts
  std::optional<std::int64_t> timeNs;  // since 1970-01-01 UTC
};

// A TCP segment (RFC 9293) as it stood in one packet, or in the fragments of one.
struct TCPSegment {
  CapturePlace place;
  Endpoint source;
  Endpoint destination;
  std::uint32_t sequence = 0;
  std::uint32_t acknowledgement = 0;  // meaningful with `ack`
  bool syn = false;
  bool ack = false;
  bool fin = false;
  bool rst = false;
  // What was captured of the payload; valid until the next packet is read.
  ByteView payload;
  // Its length on the wire: larger than `payload` where the capture cut the packet short.
  std::size_t payloadLength = 0;
};

}  // namespace qv::capture
