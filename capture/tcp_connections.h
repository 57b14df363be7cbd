#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "capture/tcp_segment.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

struct ReassemblyLimits {
  // Bytes that wait for earlier ones, of one direction and of all together; what is over makes the
  // oldest hole a gap.
  std::size_t waitingBytesPerDirection = std::size_t{4} << 20;
  std::size_t waitingBytes = std::size_t{16} << 20;
  // Connections that are followed at once; beyond, the one that was quiet longest is given up.
  std::size_t connections = 16384;
};

enum class TCPEventKind : std::uint8_t {
  opened,
  bytes,     // the next bytes of a direction
  gap,       // the next `length` bytes of a direction are in no packet
  conflict,  // two copies of these bytes differ; the first one counts
  limited,   // a gap, or the end of a connection, that the limits brought about follows
  closed,    // nothing of this connection follows
};

struct TCPEvent {
  TCPEventKind kind = TCPEventKind::opened;
  std::uint64_t connection = 0;  // from 1 in the order of their first packets
  // opened: both ends, the one that sent the first captured packet first, unless the other sent the
  // SYN, and whether the beginning of the connection was captured.
  Endpoint first;
  Endpoint second;
  bool partialStart = false;
  // bytes, gap, conflict: true when `first` sent them.
  bool fromFirst = false;
  std::uint64_t offset = 0;  // in the stream of that direction, which begins at 0
  std::uint64_t length = 0;
  ByteView bytes;      // of `length`; valid until the next call of `next` or `add`
  CapturePlace place;  // the packet that held the bytes, or that made the event certain
  // How many bytes of the other direction the sender had received when it sent these, as the packet
  // acknowledges; negative for a stretch before the captured beginning, null when not known.
  std::optional<std::int64_t> acknowledged;
};

// Follows the TCP connections (RFC 9293) of a capture and puts the bytes of each direction in
// order.
//
//   connections.add(segment);                        // in capture order
//   while (auto event = connections.next()) { ... }  // drain after each segment
//   connections.finish();                            // the capture ends here
//   while (auto event = connections.next()) { ... }
//
// Of bytes that come twice the first copy counts. A hole is a gap as soon as the receiver has
// acknowledged bytes behind it, when the connection or the capture ends, or when the limits say so;
// until then it waits for a retransmission, however long. A connection whose beginning is not in
// the capture is followed from its first packet on. A connection ends with its second FIN, a RST
// that is in the window, a SYN that reuses its ports, or the end of the capture.
//
// The bytes of every direction come out as if they had been captured in order: shuffled and
// duplicated packets give the same bytes, as long as no acknowledgement overtakes what it confirms
// by more than the packets that a new connection waits.
class QV_EXPORT TCPConnections {
 public:
  explicit TCPConnections(ReassemblyLimits limits = {});
  TCPConnections(TCPConnections&&) noexcept;
  TCPConnections& operator=(TCPConnections&&) noexcept;
  ~TCPConnections();

  // Copies what has to wait.
  void add(const TCPSegment& segment);
  void finish();
  // Null when more segments are needed or, after `finish`, when everything was told.
  std::optional<TCPEvent> next();

  // Bytes held that wait for earlier ones.
  std::size_t waitingBytes() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace qv::capture
