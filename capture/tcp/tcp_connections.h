#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "capture/tcp/tcp_segment.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

struct ReassemblyLimits {
  // Bytes that wait for earlier ones, of one direction and of all together, each piece with 144 for
  // its upkeep; what is over makes the oldest hole a gap.
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
  // SYN; and of what they send whether the beginning was not captured: neither the SYN nor the
  // answer to it.
  Endpoint first;
  Endpoint second;
  bool firstIsPartial = false;
  bool secondIsPartial = false;
  // closed: whether what they sent came to its end, so that the FIN was captured and nothing before
  // it was awaited any more. Never true because of a RST, or because the capture stops.
  bool firstEnded = false;
  bool secondEnded = false;
  // closed: the limits brought it about; should it go on, it is followed again, under a new number.
  bool givenUp = false;
  // closed: whether a RST ended it instead, and nothing that was sent before is missing.
  bool firstReset = false;
  bool secondReset = false;
  // closed: how many bytes of what they sent were captured after all, but after they were told as a
  // gap. Of each direction the last 16 gaps are remembered.
  std::uint64_t firstLate = 0;
  std::uint64_t secondLate = 0;
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
// Order. Of bytes that come twice the first copy counts. A later one is compared with those that
// wait, and with the last 64 KiB that were delivered, which are kept for 64 directions at a time.
// Keep-alive probes are no copies, bytes behind a FIN and those of a RST no data. A sequence number
// is read as the nearest place. A packet that is more than 1 GiB off is passed over, and so is one
// more than 1 MiB behind what was delivered, unless both its numbers occurred in the connection;
// eight such packets of one side in a row are a new connection.
//
// Beginnings. Without both SYNs the first packets of a connection wait, so that earlier ones may
// still come: eight packets, 64 KiB, or one second of capture time (packets without a time take a
// millisecond). Then each stream begins at the earliest place that its data named, or an
// acknowledgement before them.
//
// Gaps. A hole waits for a retransmission, however long. It is a gap when the receiver acknowledged
// bytes behind its start and 16 to 31 further packets of the connection went by, as far as was
// acknowledged; or when the connection or the capture ends, or the limits say so. Of a direction of
// which no SYN, data or FIN were captured nothing is missed. An acknowledgement that is more than
// 1 MiB ahead of everything else counts as far as a second one confirms it.
//
// Ends. A connection ends when both streams were told up to their FINs; one second of capture time
// or 16 packets after a RST that stands within 1 MiB of its stream and not before what was
// acknowledged, unless its sender sends, or its receiver acknowledges, new bytes; 60 seconds after
// both FINs;
// with a SYN that reuses its ports (one that is not its own and stands 64 KiB or more from its
// stream, any once it has ended, or any after 60 seconds without a packet); at the end of the
// capture. The last 1024 that ended are
// remembered, so that late packets of theirs are passed over; eight with new bytes of one side,
// without a RST between them, are a new connection.
//
// So shuffled and duplicated packets give the same bytes, as long as no packet is late by more than
// the first packets wait, and no acknowledgement overtakes what it confirms by more than 16
// packets.
//
// Memory: the waiting bytes, 4 MiB of recent ones, and about 500 bytes for each connection.
class QV_EXPORT TCPConnections {
 public:
  explicit TCPConnections(ReassemblyLimits limits = {});
  TCPConnections(TCPConnections&&) noexcept;
  TCPConnections& operator=(TCPConnections&&) noexcept;
  ~TCPConnections();

  // Copies what has to wait; the payload of the segment must stay until the events were drained.
  void add(const TCPSegment& segment);
  void finish();
  // Null when more segments are needed or, after `finish`, when everything was told.
  std::optional<TCPEvent> next();

  // Heap bytes of what waits: for earlier bytes, or for the beginning to be clear.
  std::size_t waitingBytes() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace qv::capture
