#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "capture/tcp/tcp_stream.h"

namespace qv::capture {

// One connection, from its first packet to its end. A side is 0 or 1, as the owner numbers them.
//
//   settling   its first packets wait until it is clear where both streams begin
//   open       segments are put in order as they come
//   ending     a RST, or both FINs while bytes are missing: late packets may follow
//   closed     remembered, so that stray packets of it do not look like a new connection
class TCPConnection {
 public:
  enum class Stage : std::uint8_t { settling, open, ending, closed };
  enum class Belonging : std::uint8_t { here, stray, elsewhere };

  // How long things wait, in nanoseconds of capture time, and in packets of the connection.
  static constexpr std::int64_t kSecond = 1'000'000'000;
  static constexpr std::int64_t kSettlingTime = kSecond;
  static constexpr std::size_t kSettlingPackets = 8;
  static constexpr std::size_t kSettlingBytes = std::size_t{1} << 16;
  static constexpr std::uint32_t kPacketsToAge = 16;
  static constexpr std::uint32_t kPacketsAfterReset = 16;
  static constexpr std::int64_t kTimeAfterReset = kSecond;
  static constexpr std::int64_t kTimeAfterFINs = 60 * kSecond;
  static constexpr std::int64_t kPause = kSecond;
  // Two maximum segment lifetimes: a SYN that comes later is no late copy of one.
  static constexpr std::int64_t kOldestCopy = 60 * kSecond;
  // Of packets of one side that are none of its stream, how many in a row make a new connection.
  static constexpr std::uint32_t kStraysToBegin = 8;

  TCPConnection(std::uint64_t number, const Endpoint& side0, const Endpoint& side1,
                std::int64_t time);

  std::uint64_t number() const { return number_; }
  Stage stage() const { return stage_; }
  // Of the capture, when it was begun; when it is to be closed while it is ending.
  std::int64_t begunAt() const { return begunAt_; }
  std::int64_t closesAt() const { return closesAt_; }

  Belonging belonging(const TCPSegment& segment, unsigned side, std::int64_t time);
  void add(const TCPSegment& segment, unsigned side, std::int64_t time, TCPReassembly& shared);
  // Begins to deliver with what there is.
  void settle(TCPReassembly& shared);
  void close(const CapturePlace& place, TCPReassembly& shared, bool givenUp = false);

  void giveUpHole(unsigned side, std::int64_t time, const CapturePlace& place,
                  TCPReassembly& shared);

  const TCPStream& stream(unsigned side) const { return streams_[side]; }
  TCPStreamOutput output(unsigned side, const CapturePlace& place, TCPReassembly& shared) const {
    return {shared, number_, side == firstSide_, place};
  }

 private:
  struct FirstPacket {
    TCPSegment segment;
    unsigned side;
    Bytes payload;
  };
  // The first packets.
  struct Settling {
    std::vector<FirstPacket> packets;
    std::array<bool, 2> syn{};
    std::size_t bytes = 0;
    std::size_t cost = 0;

    std::optional<std::uint32_t> beginningOf(unsigned side) const;
    bool isPartial(unsigned side) const;
    unsigned sideThatOpened() const;
  };

  // After a RST, what its receiver would not have received, or not acknowledged, had it ended
  // there.
  struct Reset {
    unsigned side = 0;
    std::int64_t sent = 0;
    std::int64_t acknowledged = 0;
  };

  Belonging belongingOnceClosed(const TCPSegment& segment, unsigned side);
  Belonging countStray(unsigned side);
  bool isFarBehind(const TCPSegment& segment, unsigned side) const;
  void wait(const TCPSegment& segment, unsigned side, TCPReassembly& shared);
  void process(const TCPSegment& segment, unsigned side, std::int64_t time, TCPReassembly& shared);
  void processReset(const TCPSegment& segment, unsigned side, std::int64_t time);
  bool endsByReset(unsigned side) const;
  void reopenIfAlive(const TCPSegment& segment, unsigned side);
  void endIfDone(const CapturePlace& place, std::int64_t time, TCPReassembly& shared);

  std::uint64_t number_;
  std::array<Endpoint, 2> ends_;
  std::array<TCPStream, 2> streams_;
  std::unique_ptr<Settling> settling_;
  Stage stage_ = Stage::settling;
  unsigned firstSide_ = 0;
  std::uint32_t packets_ = 0;
  std::array<std::uint32_t, 2> strays_{};
  std::uint32_t lastPackets_ = 0;  // after a RST, how many more are read; 0 without one
  Reset reset_;
  bool isReset_ = false;
  std::int64_t begunAt_;
  std::int64_t lastAt_;
  std::int64_t closesAt_ = 0;
  CapturePlace endPlace_;
};

}  // namespace qv::capture
