#include "capture/http/http_conversation.h"

#include <algorithm>
#include <utility>

namespace qv::capture {
namespace {

// Packets of which the place is remembered beside that of the item under construction.
constexpr std::size_t kMostMarks = 256;

HTTPFramer framerFor(Direction direction, HTTPConversation::Beginning beginning,
                     FramingLimits limits) {
  if (!beginning.isPartial && beginning.offset == 0) return HTTPFramer(direction, limits);
  return HTTPFramer::inMidstream(direction, beginning.offset, limits,
                                 beginning.isGivenUp ? DamageKind::givenUp : DamageKind::behindGap);
}

// Where the item is told to be: a message's first byte behind empty lines.
std::uint64_t placeOf(const StreamItem& item) {
  if (const auto* message = std::get_if<FramedMessage>(&item)) return message->headerOffset;
  if (const auto* damage = std::get_if<Damage>(&item)) return damage->offset;
  return std::get<Gap>(item).offset;
}

bool isWithinMessage(const StreamItem& item) {
  const auto* gap = std::get_if<Gap>(&item);
  return gap != nullptr && !gap->mayHideMessages;
}

}  // namespace

HTTPConversation::HTTPConversation(std::uint64_t connection, std::array<Beginning, 2> beginnings,
                                   FramingLimits limits, Emit emit)
    : limits_(limits),
      sides_{Side{framerFor(Direction::toAccessory, beginnings[0], limits), beginnings[0].offset},
             Side{framerFor(Direction::toController, beginnings[1], limits), beginnings[1].offset}},
      pairing_(connection, beginnings[0].offset,
               beginnings[0].isPartial || beginnings[0].isGivenUp),
      emit_(std::move(emit)) {
  for (Side& side : sides_) side.told = side.position;
  prepareResponses();
}

void HTTPConversation::prepareResponses() {
  Side& side = sideOf(Direction::toController);
  side.framer.expectSettling();
  side.framer.askForHead([this, &side](std::uint64_t offset) -> std::optional<bool> {
    const std::optional<std::int64_t> acknowledged = markAt(side, offset).acknowledged;
    const Side& requests = sideOf(Direction::toAccessory);
    if (acknowledged.value_or(0) > static_cast<std::int64_t>(requests.position)) {
      return std::nullopt;
    }
    return pairing_.answersHead(offset, acknowledged);
  });
}

void HTTPConversation::feed(Direction direction, ByteView bytes, CapturePlace place,
                            std::optional<std::int64_t> acknowledged) {
  if (direction == Direction::toAccessory && acknowledged && *acknowledged >= 0) {
    sideOf(Direction::toController).framer.settleAt(static_cast<std::uint64_t>(*acknowledged));
    drain(Direction::toController);
  }
  Side& side = sideOf(direction);
  mark(side, place, acknowledged);
  side.position += bytes.size();
  side.framer.feed(bytes);
  drain(direction);
  // What waits for the method of its request.
  if (direction == Direction::toAccessory) drain(Direction::toController);
}

void HTTPConversation::skip(Direction direction, std::uint64_t length, CapturePlace place) {
  Side& side = sideOf(direction);
  mark(side, place, std::nullopt);
  side.position += length;
  side.framer.skip(length);
  drain(direction);
}

void HTTPConversation::finish(std::array<StreamEnd, 2> ends) {
  for (const Direction direction : {Direction::toAccessory, Direction::toController}) {
    sideOf(direction).framer.finish(ends[static_cast<std::size_t>(direction)]);
    drain(direction);
    pairing_.finish(direction);
    emitPaired();
  }
}

void HTTPConversation::giveUp() {
  for (const Direction direction : {Direction::toAccessory, Direction::toController}) {
    Side& side = sideOf(direction);
    if (side.told == side.position) continue;
    side.framer.finish(StreamEnd::captureStops);
    drain(direction, true);
    side.framer = HTTPFramer::inMidstream(direction, side.position, limits_, DamageKind::givenUp);
  }
  prepareResponses();
  pairing_.giveUp();
  emitPaired();
}

std::size_t HTTPConversation::heldBytes() const {
  std::size_t bytes = pairing_.heldBytes();
  for (const Side& side : sides_) {
    bytes += side.framer.bufferedBytes() + side.recent.size() * sizeof(Mark);
  }
  return bytes;
}

void HTTPConversation::trim() {
  for (Side& side : sides_) side.framer.trim();
}

void HTTPConversation::mark(Side& side, CapturePlace place,
                            std::optional<std::int64_t> acknowledged) {
  const Mark mark{side.position, place, acknowledged};
  if (side.told >= side.position) side.begin = mark;
  side.recent.push_back(mark);
  // What is told next begins in the item under construction or in what was not yet looked at.
  while (side.recent.size() > kMostMarks) side.recent.pop_front();
}

// Offsets ascend from call to call.
HTTPConversation::Mark HTTPConversation::markAt(Side& side, std::uint64_t offset) {
  while (side.recent.size() > 1 && side.recent[1].offset <= offset) side.recent.pop_front();
  const bool isRecent = !side.recent.empty() && side.recent.front().offset <= offset;
  return isRecent && side.begin.offset <= side.recent.front().offset ? side.recent.front()
                                                                     : side.begin;
}

void HTTPConversation::drain(Direction direction, bool givenUp) {
  Side& side = sideOf(direction);
  while (std::optional<StreamItem> item = side.framer.next()) {
    const Mark mark = markAt(side, placeOf(*item));
    if (!isWithinMessage(*item)) {
      side.told = endOf(*item);
      side.begin = markAt(side, side.told);
    }
    if (auto* message = std::get_if<FramedMessage>(&*item)) {
      if (givenUp && !message->complete()) {
        message->completeness = Completeness::givenUp;
        message->endKnown = false;
      }
      if (isAbandoned(*message)) message->completeness = Completeness::abandoned;
      if (message->kind == MessageKind::response) {
        answered_ = std::max(answered_, mark.acknowledged.value_or(0));
      }
    }
    pairing_.add(direction, *std::move(item), mark.place, mark.acknowledged);
  }
  // Whatever comes is marked anew.
  if (side.told == side.position) side.recent.clear();
  emitPaired();
}

// Who has the answer to a request need not send the rest of it (RFC 9110, section 10.1.1), and
// where nothing of a body came before the answer, none is awaited.
bool HTTPConversation::isAbandoned(const FramedMessage& message) const {
  const bool isAnswered = message.direction == Direction::toAccessory &&
                          answered_ > static_cast<std::int64_t>(message.beginOffset);
  switch (cutKindOf(message.completeness)) {
    case CutKind::byClose:
    case CutKind::byReset:
      return isAnswered;
    case CutKind::byCapture:
      return isAnswered && message.completeness == Completeness::bodyCut && !message.body;
    default:
      return false;
  }
}

void HTTPConversation::emitPaired() {
  while (std::optional<ExchangeRecord> record = pairing_.next()) emit_(*std::move(record));
}

}  // namespace qv::capture
