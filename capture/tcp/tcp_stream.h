#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "capture/tcp/recent_bytes.h"
#include "capture/tcp/tcp_event_queue.h"

namespace qv::capture {

// What all streams share.
struct TCPReassembly {
  TCPEventQueue events;
  RecentBytes recent;
  std::size_t waitingBytes = 0;
  std::vector<StreamStretch> stretches;  // of one segment; kept for its capacity
};

// Where the events of one segment, or of an end, go.
struct TCPStreamOutput {
  TCPReassembly& shared;
  std::uint64_t connection;
  bool fromFirst;
  CapturePlace place;

  TCPEvent& add(TCPEventKind kind) const;
};

// One direction of a connection. Positions count its bytes from 0 at its beginning; sequence
// numbers are read as the position nearest to where the stream stands, so that they may wrap.
class TCPStream {
 public:
  // Segments and acknowledgements farther off are not believed; no window of TCP is wider.
  static constexpr std::int64_t kWindow = std::int64_t{1} << 30;
  // An acknowledgement that is farther ahead of everything seen counts when a second one confirms
  // it, so that one garbled packet makes no gap.
  static constexpr std::int64_t kNear = std::int64_t{1} << 20;
  // What a piece that waits costs beside its bytes.
  static constexpr std::size_t kPieceOverhead = 144;

  bool placed() const { return placed_; }
  // The sequence number of the first byte.
  void place(std::uint32_t sequence);
  bool beginsAt(std::uint32_t sequence) const { return placed_ && sequence == base_; }
  // Null when it is farther than `kWindow` from where the stream stands.
  std::optional<std::int64_t> positionOf(std::uint32_t sequence) const;
  bool stands(std::uint32_t sequence, std::int64_t within) const;
  // Whether it was sent, give or take `kNear`, since the beginning of the stream.
  bool wasSent(std::uint32_t sequence) const;

  void sawSYN() { seen_ = true; }
  // Answers the position that the receiver acknowledges, null when it makes no sense.
  std::optional<std::int64_t> acknowledge(std::uint32_t sequence);
  // `length` bytes of which the first ones were captured. `afterPause` says that the connection was
  // quiet for long enough to be probed.
  void receive(std::int64_t position, ByteView payload, std::size_t length, bool afterPause,
               std::optional<std::int64_t> acknowledged, const TCPStreamOutput& out);
  void endAt(std::int64_t position);
  bool ends() const { return fin_ != kNowhere; }
  bool complete() const { return ends() && next_ >= fin_; }
  // As far as is known.
  bool holdsAll() const { return next_ >= sentEnd_ && next_ >= acked_; }

  // To be called at regular distances; what was acknowledged two calls ago is missed no more.
  void age(const TCPStreamOutput& out);
  void giveUpHole(const TCPStreamOutput& out);
  void close(const TCPStreamOutput& out);

  std::size_t waitingBytes() const { return waiting_ ? waiting_->cost : 0; }
  std::int64_t delivered() const { return next_; }
  std::int64_t acknowledged() const { return acked_; }
  std::int64_t sentEnd() const { return sentEnd_; }
  // Bytes that came after they were told as a gap.
  std::uint64_t late() const { return late_; }

 private:
  static constexpr std::size_t kLostStretches = 16;
  static constexpr std::int64_t kNowhere = std::numeric_limits<std::int64_t>::max();
  struct Piece {
    Bytes bytes;
    CapturePlace place;
    std::optional<std::int64_t> acknowledged;
  };
  struct Waiting {
    std::map<std::int64_t, Piece> pieces;  // by position; they do not overlap
    std::size_t cost = 0;
  };

  std::int64_t front() const { return next_ > acked_ ? next_ : acked_; }
  std::uint64_t idFor(const TCPStreamOutput& out) const;
  void receiveNew(std::int64_t position, ByteView payload, std::optional<StreamStretch> conflict,
                  std::optional<std::int64_t> acknowledged, const TCPStreamOutput& out);
  // Writes the stretches that no piece holds and answers where the copies differ.
  std::optional<StreamStretch> compareWithPieces(std::int64_t position, ByteView payload,
                                                 std::vector<StreamStretch>& missing) const;
  void hold(std::int64_t position, ByteView bytes, std::optional<std::int64_t> acknowledged,
            const TCPStreamOutput& out);
  void deliver(ByteView bytes, const CapturePlace& place, std::optional<std::int64_t> acknowledged,
               const TCPStreamOutput& out);
  void deliverPieces(const TCPStreamOutput& out);
  void countLate(std::int64_t from, std::int64_t to);
  void skipTo(std::int64_t position, const TCPStreamOutput& out);
  void declareGaps(std::int64_t end, const TCPStreamOutput& out);

  std::uint32_t base_ = 0;
  std::uint32_t recentSlot_ = std::numeric_limits<std::uint32_t>::max();
  bool placed_ = false;
  bool seen_ = false;  // a packet with SYN, data or FIN; without one its holes are not in question
  std::int64_t next_ = 0;     // what is to be delivered next
  std::int64_t sentEnd_ = 0;  // of everything that was sent, captured or cut away
  std::int64_t fin_ = kNowhere;
  std::int64_t acked_ = 0;
  std::int64_t unconfirmed_ = 0;  // the farthest acknowledgement; counts as far as another one goes
  std::int64_t aging_ = 0;        // acknowledged at the last call of `age`
  std::unique_ptr<Waiting> waiting_;
  std::unique_ptr<std::vector<StreamStretch>> lost_;  // of the latest gaps what did not come since
  std::uint64_t late_ = 0;
};

}  // namespace qv::capture
