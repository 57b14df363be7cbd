#include "capture/tcp/tcp_stream.h"

#include <algorithm>

namespace qv::capture {

namespace {

std::int64_t lengthOf(ByteView bytes) {
  return static_cast<std::int64_t>(bytes.size());
}

}  // namespace

TCPEvent& TCPStreamOutput::add(TCPEventKind kind) const {
  TCPEvent& event = shared.events.add(kind);
  event.connection = connection;
  event.fromFirst = fromFirst;
  event.place = place;
  return event;
}

void TCPStream::place(std::uint32_t sequence) {
  base_ = sequence;
  placed_ = true;
}

std::optional<std::int64_t> TCPStream::positionOf(std::uint32_t sequence) const {
  const std::int64_t reference = front();
  const auto distance =
      static_cast<std::int32_t>(sequence - base_ - static_cast<std::uint32_t>(reference));
  if (distance > kWindow || distance < -kWindow) return std::nullopt;
  return reference + distance;
}

bool TCPStream::stands(std::uint32_t sequence, std::int64_t within) const {
  const auto position = positionOf(sequence);
  return position && *position >= front() - within &&
         *position <= std::max(front(), sentEnd_) + within;
}

bool TCPStream::wasSent(std::uint32_t sequence) const {
  const auto position = positionOf(sequence);
  return position && *position >= -kNear && *position <= std::max(front(), sentEnd_) + kNear;
}

std::optional<std::int64_t> TCPStream::acknowledge(std::uint32_t sequence) {
  if (!placed_) place(sequence);
  auto position = positionOf(sequence);
  if (!position) return std::nullopt;
  position = std::min(*position, fin_);
  if (*position <= acked_) return position;
  if (*position <= std::max(front(), sentEnd_) + kNear) {
    acked_ = *position;
  } else {
    acked_ = std::max(acked_, std::min(*position, unconfirmed_));
    unconfirmed_ = std::max(*position, unconfirmed_);
  }
  return position;
}

void TCPStream::receive(std::int64_t position, ByteView payload, std::size_t length,
                        bool afterPause, std::optional<std::int64_t> acknowledged,
                        const TCPStreamOutput& out) {
  length = std::min(std::max(length, payload.size()), static_cast<std::size_t>(kWindow));
  const bool probe =
      length == 1 && (position + 1 == next_ || (position + 1 == acked_ && afterPause));
  if (probe || position >= fin_) return;
  if (position > fin_ - static_cast<std::int64_t>(length)) {
    length = static_cast<std::size_t>(fin_ - position);
  }
  payload = payload.first(std::min(payload.size(), length));
  seen_ = true;
  sentEnd_ = std::max(sentEnd_, position + static_cast<std::int64_t>(length));

  std::optional<StreamStretch> conflict;
  if (position < next_) {
    const auto old = static_cast<std::size_t>(std::min(lengthOf(payload), next_ - position));
    conflict = out.shared.recent.difference(recentSlot_, idFor(out), position, payload.first(old));
    if (lost_) countLate(position, position + static_cast<std::int64_t>(old));
    payload = payload.subspan(old);
    position += static_cast<std::int64_t>(old);
  }
  receiveNew(position, payload, conflict, acknowledged, out);
}

void TCPStream::receiveNew(std::int64_t position, ByteView payload,
                           std::optional<StreamStretch> conflict,
                           std::optional<std::int64_t> acknowledged, const TCPStreamOutput& out) {
  const std::int64_t end = position + lengthOf(payload);
  const bool apart = !waiting_ || end <= waiting_->pieces.begin()->first;
  std::vector<StreamStretch>& missing = out.shared.stretches;
  if (!apart && !payload.empty()) {
    extend(conflict, compareWithPieces(position, payload, missing));
  }
  if (conflict) {
    TCPEvent& event = out.add(TCPEventKind::conflict);
    event.offset = static_cast<std::uint64_t>(conflict->begin);
    event.length = static_cast<std::uint64_t>(conflict->end - conflict->begin);
  }
  if (payload.empty()) return;
  const auto take = [&](std::int64_t from, std::int64_t to) {
    const ByteView bytes = payload.subspan(static_cast<std::size_t>(from - position),
                                           static_cast<std::size_t>(to - from));
    if (from != next_) return hold(from, bytes, acknowledged, out);
    deliver(bytes, out.place, acknowledged, out);
    if (waiting_) deliverPieces(out);
  };
  if (apart) return take(position, end);
  for (const StreamStretch& stretch : missing) take(stretch.begin, stretch.end);
}

std::optional<StreamStretch> TCPStream::compareWithPieces(
    std::int64_t position, ByteView payload, std::vector<StreamStretch>& missing) const {
  missing.clear();
  std::optional<StreamStretch> result;
  const auto& pieces = waiting_->pieces;
  const std::int64_t end = position + lengthOf(payload);
  std::int64_t at = position;
  auto piece = pieces.upper_bound(position);
  if (piece != pieces.begin()) --piece;
  for (; piece != pieces.end() && piece->first < end; ++piece) {
    const std::int64_t pieceEnd = piece->first + lengthOf(piece->second.bytes);
    if (pieceEnd <= at) continue;
    if (at < piece->first) missing.push_back({at, piece->first});
    at = std::max(at, piece->first);
    extend(result, differenceOf(at, payload.data() + (at - position),
                                piece->second.bytes.data() + (at - piece->first),
                                static_cast<std::size_t>(std::min(pieceEnd, end) - at)));
    at = pieceEnd;
  }
  if (at < end) missing.push_back({at, end});
  return result;
}

void TCPStream::endAt(std::int64_t position) {
  // Data that was seen behind it, and a distance that nothing else bears out, speak against it.
  if (ends() || position < std::max(next_, sentEnd_) ||
      position > std::max(front(), sentEnd_) + kNear) {
    return;
  }
  seen_ = true;
  fin_ = sentEnd_ = position;
}

void TCPStream::age(const TCPStreamOutput& out) {
  if (aging_ > next_ && seen_) declareGaps(aging_, out);
  aging_ = acked_;
}

void TCPStream::giveUpHole(const TCPStreamOutput& out) {
  if (!waiting_) return;
  out.add(TCPEventKind::limited).offset = static_cast<std::uint64_t>(next_);
  skipTo(waiting_->pieces.begin()->first, out);
  deliverPieces(out);
}

void TCPStream::close(const TCPStreamOutput& out) {
  if (seen_) {
    while (waiting_) declareGaps(waiting_->pieces.begin()->first, out);
    declareGaps(std::max(acked_, sentEnd_), out);
  }
  out.shared.recent.release(recentSlot_, idFor(out));
}

std::uint64_t TCPStream::idFor(const TCPStreamOutput& out) const {
  return out.connection * 2 + (out.fromFirst ? 1 : 0);
}

void TCPStream::hold(std::int64_t position, ByteView bytes,
                     std::optional<std::int64_t> acknowledged, const TCPStreamOutput& out) {
  if (!waiting_) waiting_ = std::make_unique<Waiting>();
  auto& pieces = waiting_->pieces;
  pieces.emplace(position, Piece{Bytes(bytes.begin(), bytes.end()), out.place, acknowledged});
  waiting_->cost += bytes.size() + kPieceOverhead;
  out.shared.waitingBytes += bytes.size() + kPieceOverhead;
}

void TCPStream::deliver(ByteView bytes, const CapturePlace& place,
                        std::optional<std::int64_t> acknowledged, const TCPStreamOutput& out) {
  TCPEvent& event = out.add(TCPEventKind::bytes);
  event.offset = static_cast<std::uint64_t>(next_);
  event.length = bytes.size();
  event.bytes = bytes;
  event.place = place;
  event.acknowledged = acknowledged;
  out.shared.recent.append(recentSlot_, idFor(out), next_, bytes);
  next_ += lengthOf(bytes);
}

void TCPStream::deliverPieces(const TCPStreamOutput& out) {
  auto& pieces = waiting_->pieces;
  while (!pieces.empty() && pieces.begin()->first == next_) {
    Piece piece = std::move(pieces.begin()->second);
    pieces.erase(pieces.begin());
    const std::size_t cost = piece.bytes.size() + kPieceOverhead;
    waiting_->cost -= cost;
    out.shared.waitingBytes -= cost;
    deliver(piece.bytes, piece.place, piece.acknowledged, out);
    out.shared.events.keep(std::move(piece.bytes));
  }
  if (pieces.empty()) waiting_.reset();
}

void TCPStream::skipTo(std::int64_t position, const TCPStreamOutput& out) {
  TCPEvent& event = out.add(TCPEventKind::gap);
  event.offset = static_cast<std::uint64_t>(next_);
  event.length = static_cast<std::uint64_t>(position - next_);
  if (!lost_) lost_ = std::make_unique<std::vector<StreamStretch>>();
  if (lost_->size() == kLostStretches) lost_->erase(lost_->begin());
  lost_->push_back({next_, position});
  next_ = position;
}

void TCPStream::countLate(std::int64_t from, std::int64_t to) {
  for (std::size_t i = lost_->size(); i-- > 0;) {
    const StreamStretch lost = (*lost_)[i];
    const StreamStretch came = {std::max(from, lost.begin), std::min(to, lost.end)};
    if (came.begin >= came.end) continue;
    late_ += static_cast<std::uint64_t>(came.end - came.begin);
    (*lost_)[i].end = came.begin;
    const StreamStretch behind = {came.end, lost.end};
    if (came.begin == lost.begin) {
      (*lost_)[i] = behind;
    } else if (came.end < lost.end && lost_->size() < kLostStretches) {
      lost_->insert(lost_->begin() + static_cast<std::ptrdiff_t>(i) + 1, behind);
    }
  }
}

void TCPStream::declareGaps(std::int64_t end, const TCPStreamOutput& out) {
  end = std::min(end, fin_);
  while (next_ < end) {
    if (waiting_) {
      skipTo(std::min(end, waiting_->pieces.begin()->first), out);
      deliverPieces(out);
      continue;
    }
    // Deliberate: one number beyond everything that was sent is that of a FIN that is not in the
    // capture; a byte would be followed by others.
    if (next_ + 1 == end && sentEnd_ <= next_) return;
    skipTo(end, out);
  }
}

}  // namespace qv::capture
