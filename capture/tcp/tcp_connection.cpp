#include "capture/tcp/tcp_connection.h"

#include <algorithm>

namespace qv::capture {

namespace {

constexpr std::int64_t kSynSlack = std::int64_t{1} << 16;
// What its sender sent before a RST may be captured a little later than it, up to here.
constexpr std::int64_t kResetSlack = std::int64_t{1} << 16;

std::uint32_t firstByteOf(const TCPSegment& segment) {
  return segment.sequence + (segment.syn ? 1 : 0);
}

std::size_t lengthOf(const TCPSegment& segment) {
  return std::max(segment.payloadLength, segment.payload.size());
}

}  // namespace

TCPConnection::TCPConnection(std::uint64_t number, const Endpoint& side0, const Endpoint& side1,
                             std::int64_t time)
    : number_(number),
      ends_{side0, side1},
      settling_(std::make_unique<Settling>()),
      begunAt_(time),
      lastAt_(time) {}

TCPConnection::Belonging TCPConnection::belonging(const TCPSegment& segment, unsigned side,
                                                  std::int64_t time) {
  const bool mayBeCopy = stage_ == Stage::settling || time - lastAt_ < kOldestCopy;
  if (segment.syn && !segment.rst && !mayBeCopy) return Belonging::elsewhere;
  if (stage_ == Stage::closed) return belongingOnceClosed(segment, side);
  if (segment.rst) return Belonging::here;
  const TCPStream& sender = streams_[side];
  const std::uint32_t first = firstByteOf(segment);
  if (segment.syn) {
    if (!sender.placed() || sender.beginsAt(first)) return Belonging::here;
    if (!sender.stands(first, kSynSlack)) return Belonging::elsewhere;
    // Before it is settled, the stream may begin before the packet that came first.
    const bool guessed = settling_ && !settling_->syn[side];
    return guessed ? Belonging::here : Belonging::stray;
  }
  if (stage_ == Stage::settling || !sender.placed()) return Belonging::here;
  if (!sender.positionOf(first) || isFarBehind(segment, side)) return countStray(side);
  strays_[side] = 0;
  return Belonging::here;
}

TCPConnection::Belonging TCPConnection::belongingOnceClosed(const TCPSegment& segment,
                                                            unsigned side) {
  const TCPStream& sender = streams_[side];
  const TCPStream& receiver = streams_[1 - side];
  const std::uint32_t first = firstByteOf(segment);
  if (segment.rst) {
    // The answer to what the other side had under way.
    strays_ = {};
    return Belonging::stray;
  }
  const bool known = segment.syn       ? sender.beginsAt(first)
                     : sender.placed() ? sender.stands(first, TCPStream::kNear)
                                       : !segment.ack || receiver.stands(segment.acknowledgement,
                                                                         TCPStream::kNear);
  if (!known) return Belonging::elsewhere;
  const auto length = static_cast<std::int64_t>(lengthOf(segment));
  const auto position = sender.placed() ? sender.positionOf(first) : std::nullopt;
  if (length == 0 || (position && *position + length <= sender.delivered())) {
    return Belonging::stray;
  }
  return countStray(side);
}

TCPConnection::Belonging TCPConnection::countStray(unsigned side) {
  return ++strays_[side] < kStraysToBegin ? Belonging::stray : Belonging::elsewhere;
}

// Of another connection, then, unless both its numbers have occurred in this one: a late copy.
bool TCPConnection::isFarBehind(const TCPSegment& segment, unsigned side) const {
  const TCPStream& sender = streams_[side];
  const TCPStream& receiver = streams_[1 - side];
  const auto position = sender.positionOf(segment.sequence);
  const auto length = static_cast<std::int64_t>(lengthOf(segment));
  if (!position || *position + length >= sender.delivered() - TCPStream::kNear) return false;
  const bool copy = sender.wasSent(segment.sequence) && (!segment.ack || !receiver.placed() ||
                                                         receiver.wasSent(segment.acknowledgement));
  return !copy;
}

void TCPConnection::add(const TCPSegment& segment, unsigned side, std::int64_t time,
                        TCPReassembly& shared) {
  if (stage_ == Stage::settling) {
    wait(segment, side, shared);
  } else {
    process(segment, side, time, shared);
  }
  lastAt_ = time;
}

void TCPConnection::wait(const TCPSegment& segment, unsigned side, TCPReassembly& shared) {
  Settling& settling = *settling_;
  settling.packets.push_back(
      {segment, side, Bytes(segment.payload.begin(), segment.payload.end())});
  settling.bytes += segment.payload.size();
  const std::size_t cost = sizeof(FirstPacket) + segment.payload.size();
  settling.cost += cost;
  shared.waitingBytes += cost;
  // Only to tell later packets that belong here from those of another connection.
  if (segment.syn || !streams_[side].placed()) streams_[side].place(firstByteOf(segment));
  if (segment.ack && !streams_[1 - side].placed()) {
    streams_[1 - side].place(segment.acknowledgement);
  }
  if (segment.syn) settling.syn[side] = true;
  if ((settling.syn[0] && settling.syn[1]) || settling.packets.size() >= kSettlingPackets ||
      settling.bytes >= kSettlingBytes) {
    settle(shared);
  }
}

void TCPConnection::settle(TCPReassembly& shared) {
  const auto settling = std::move(settling_);
  if (!settling) return;
  settling_ = nullptr;
  stage_ = Stage::open;
  std::array<std::optional<std::uint32_t>, 2> beginnings;
  for (unsigned side = 0; side < 2; ++side) beginnings[side] = settling->beginningOf(side);
  for (unsigned side = 0; side < 2; ++side) {
    streams_[side] = TCPStream();
    if (beginnings[side]) streams_[side].place(*beginnings[side]);
  }
  firstSide_ = settling->sideThatOpened();
  TCPEvent& opened =
      output(firstSide_, settling->packets.front().segment.place, shared).add(TCPEventKind::opened);
  opened.first = ends_[firstSide_];
  opened.second = ends_[1 - firstSide_];
  opened.firstIsPartial = settling->isPartial(firstSide_);
  opened.secondIsPartial = settling->isPartial(1 - firstSide_);
  shared.waitingBytes -= settling->cost;
  for (FirstPacket& packet : settling->packets) {
    packet.segment.payload = packet.payload;
    process(packet.segment, packet.side, lastAt_, shared);
    shared.events.keep(std::move(packet.payload));
  }
}

// The beginning of a stream is told by its SYN. Without one it is the earliest place that its data
// name, or an acknowledgement that was captured before them.
std::optional<std::uint32_t> TCPConnection::Settling::beginningOf(unsigned side) const {
  std::optional<std::uint32_t> earliest;
  std::optional<std::uint32_t> probe;
  bool data = false;
  const auto consider = [&](std::uint32_t sequence) {
    if (!earliest) earliest = sequence;
    const auto ahead = static_cast<std::int32_t>(sequence - *earliest);
    if (ahead < 0 && ahead >= -TCPStream::kNear) earliest = sequence;
  };
  for (const FirstPacket& packet : packets) {
    const TCPSegment& segment = packet.segment;
    if (segment.rst) continue;
    if (packet.side != side) {
      if (segment.ack && (segment.syn || !data)) consider(segment.acknowledgement);
    } else if (segment.syn) {
      return firstByteOf(segment);
    } else if (lengthOf(segment) == 1 && !packet.payload.empty() && packet.payload[0] == 0) {
      probe = segment.sequence;
    } else if (lengthOf(segment) > 0 || segment.fin) {
      consider(segment.sequence);
      data = true;
    }
  }
  // A byte of zero just before everything else is a keep-alive probe.
  if (probe && (!earliest || *probe + 1 != *earliest)) consider(*probe);
  return earliest;
}

// A SYN that nothing but further ones and a RST followed may still be answered.
bool TCPConnection::Settling::isPartial(unsigned side) const {
  bool wentOn = false;
  for (const FirstPacket& packet : packets) {
    const TCPSegment& segment = packet.segment;
    if (segment.rst) continue;
    if (segment.syn && (packet.side == side || segment.ack)) return false;
    if (!segment.syn) wentOn = true;
  }
  return wentOn || (!syn[0] && !syn[1]);
}

unsigned TCPConnection::Settling::sideThatOpened() const {
  for (const FirstPacket& packet : packets) {
    if (packet.segment.syn && !packet.segment.rst) {
      return packet.segment.ack ? 1 - packet.side : packet.side;
    }
  }
  return packets.front().side;
}

void TCPConnection::process(const TCPSegment& segment, unsigned side, std::int64_t time,
                            TCPReassembly& shared) {
  if (stage_ == Stage::closed) return;
  TCPStream& sender = streams_[side];
  if (segment.rst) {
    processReset(segment, side, time);
  } else {
    const auto acknowledged =
        segment.ack ? streams_[1 - side].acknowledge(segment.acknowledgement) : std::nullopt;
    const std::size_t length = lengthOf(segment);
    const std::uint32_t first = firstByteOf(segment);
    if (!sender.placed() && (segment.syn || segment.fin || length > 0)) sender.place(first);
    const auto position = sender.placed() ? sender.positionOf(first) : std::nullopt;
    if (position) {
      if (segment.syn) sender.sawSYN();
      if (length > 0) {
        sender.receive(*position, segment.payload, length, time - lastAt_ > kPause, acknowledged,
                       output(side, segment.place, shared));
      }
      if (segment.fin) sender.endAt(*position + static_cast<std::int64_t>(length));
    }
    if (lastPackets_ > 0) reopenIfAlive(segment, side);
  }
  if (++packets_ % kPacketsToAge == 0) {
    for (const unsigned each : {firstSide_, 1 - firstSide_}) {
      streams_[each].age(output(each, segment.place, shared));
    }
  }
  endIfDone(segment.place, time, shared);
}

void TCPConnection::processReset(const TCPSegment& segment, unsigned side, std::int64_t time) {
  if (lastPackets_ > 0) return;
  const TCPStream& sender = streams_[side];
  const TCPStream& receiver = streams_[1 - side];
  // The answer to a SYN that is refused has no sequence number of its own.
  const bool refusal = segment.ack && receiver.placed() &&
                       receiver.stands(segment.acknowledgement, TCPStream::kNear) &&
                       !sender.placed();
  if (!refusal && sender.placed() && !sender.stands(segment.sequence, TCPStream::kNear)) return;
  const std::int64_t sent = sender.sentEnd();
  reset_ = {side, sent, sent};
  if (const auto position = sender.placed() ? sender.positionOf(segment.sequence) : std::nullopt) {
    // Hosts ignore one that stands before what they received; a FIN counts as one, captured or not.
    if (*position + 1 < sender.acknowledged()) return;
    if (*position > sent && *position <= sent + kResetSlack) reset_.sent = *position;
  }
  stage_ = Stage::ending;
  isReset_ = true;
  closesAt_ = time + kTimeAfterReset;
  lastPackets_ = kPacketsAfterReset;
  endPlace_ = segment.place;
}

bool TCPConnection::endsByReset(unsigned side) const {
  const TCPStream& stream = streams_[side];
  if (!isReset_ || stream.ends()) return false;
  return stream.holdsAll() && (side != reset_.side || stream.delivered() >= reset_.sent);
}

// Hosts ignore a RST that does not stand exactly where they expect it, which a capture with holes
// cannot tell; but what its sender goes on to send, or its receiver to acknowledge, can.
void TCPConnection::reopenIfAlive(const TCPSegment& segment, unsigned side) {
  const TCPStream& stream = streams_[reset_.side];
  if (!stream.placed()) return;
  const bool sender = side == reset_.side;
  if (!sender && !segment.ack) return;
  const auto length = static_cast<std::int64_t>(lengthOf(segment));
  if (sender && length == 0) return;
  const auto position = stream.positionOf(sender ? firstByteOf(segment) : segment.acknowledgement);
  if (!position) return;
  const std::int64_t end = sender ? *position + length : *position;
  const std::int64_t limit = sender ? reset_.sent : reset_.acknowledged + 1;
  if (end <= limit || end > limit + TCPStream::kNear) return;
  stage_ = Stage::open;
  isReset_ = false;
  lastPackets_ = 0;
  closesAt_ = 0;
  endPlace_ = {};
}

void TCPConnection::endIfDone(const CapturePlace& place, std::int64_t time, TCPReassembly& shared) {
  if (stage_ == Stage::ending && lastPackets_ > 0) {
    if (--lastPackets_ == 0) close(place, shared);
    return;
  }
  if (!streams_[0].ends() || !streams_[1].ends()) return;
  if (streams_[0].complete() && streams_[1].complete()) {
    close(place, shared);
  } else if (stage_ == Stage::open) {
    stage_ = Stage::ending;
    closesAt_ = time + kTimeAfterFINs;
  }
}

void TCPConnection::giveUpHole(unsigned side, std::int64_t time, const CapturePlace& place,
                               TCPReassembly& shared) {
  streams_[side].giveUpHole(output(side, place, shared));
  if (stage_ == Stage::open) endIfDone(place, time, shared);
}

void TCPConnection::close(const CapturePlace& place, TCPReassembly& shared, bool givenUp) {
  settle(shared);
  if (stage_ == Stage::closed) return;
  const std::array<bool, 2> ended = {streams_[0].complete(), streams_[1].complete()};
  const std::array<bool, 2> reset = {endsByReset(0), endsByReset(1)};
  for (const unsigned side : {firstSide_, 1 - firstSide_}) {
    streams_[side].close(output(side, place, shared));
  }
  TCPEvent& closed = output(firstSide_, endPlace_.number > 0 ? endPlace_ : place, shared)
                         .add(TCPEventKind::closed);
  closed.firstLate = streams_[firstSide_].late();
  closed.secondLate = streams_[1 - firstSide_].late();
  closed.givenUp = givenUp;
  closed.firstEnded = ended[firstSide_];
  closed.secondEnded = ended[1 - firstSide_];
  closed.firstReset = reset[firstSide_];
  closed.secondReset = reset[1 - firstSide_];
  stage_ = Stage::closed;
}

}  // namespace qv::capture
