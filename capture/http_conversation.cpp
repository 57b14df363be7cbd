#include "capture/http_conversation.h"

#include <utility>

namespace qv::capture {
namespace {

// Packets of which the place is remembered beside that of the item under construction.
constexpr std::size_t kMostMarks = 256;

constexpr Direction opposite(Direction direction) {
  return direction == Direction::toAccessory ? Direction::toController : Direction::toAccessory;
}

HTTPFramer framerFor(Direction direction, HTTPConversation::Beginning beginning,
                     FramingLimits limits) {
  if (!beginning.isPartial && beginning.offset == 0) return HTTPFramer(direction, limits);
  return HTTPFramer::inMidstream(direction, beginning.offset, limits);
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
    : sides_{Side{framerFor(Direction::toAccessory, beginnings[0], limits), beginnings[0].offset},
             Side{framerFor(Direction::toController, beginnings[1], limits), beginnings[1].offset}},
      pairing_(connection),
      emit_(std::move(emit)) {
  for (Side& side : sides_) side.told = side.position;
}

void HTTPConversation::feed(Direction direction, ByteView bytes, CapturePlace place,
                            std::optional<std::int64_t> acknowledged) {
  // Whoever sends has received everything before, so nothing more of that belongs to what is there.
  const Direction other = opposite(direction);
  if (acknowledged == static_cast<std::int64_t>(sideOf(other).position)) {
    sideOf(other).framer.settle();
    drain(other);
  }
  Side& side = sideOf(direction);
  mark(side, place, acknowledged);
  side.position += bytes.size();
  side.framer.feed(bytes);
  drain(direction);
}

void HTTPConversation::skip(Direction direction, std::uint64_t length, CapturePlace place) {
  Side& side = sideOf(direction);
  mark(side, place, std::nullopt);
  side.position += length;
  side.framer.skip(length);
  drain(direction);
}

void HTTPConversation::finish(std::array<bool, 2> ended) {
  for (const Direction direction : {Direction::toAccessory, Direction::toController}) {
    sideOf(direction).framer.finish(ended[static_cast<std::size_t>(direction)]);
    drain(direction);
    pairing_.finish(direction);
    emitPaired();
  }
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

void HTTPConversation::drain(Direction direction) {
  Side& side = sideOf(direction);
  while (std::optional<StreamItem> item = side.framer.next()) {
    const Mark mark = markAt(side, placeOf(*item));
    if (!isWithinMessage(*item)) {
      side.told = endOf(*item);
      side.begin = markAt(side, side.told);
    }
    pairing_.add(direction, *std::move(item), mark.place, mark.acknowledged);
  }
  emitPaired();
}

void HTTPConversation::emitPaired() {
  while (std::optional<ExchangeRecord> record = pairing_.next()) emit_(*std::move(record));
}

}  // namespace qv::capture
