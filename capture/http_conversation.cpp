#include "capture/http_conversation.h"

#include <utility>

namespace qv::capture {
namespace {

constexpr Direction opposite(Direction direction) {
  return direction == Direction::toAccessory ? Direction::toController : Direction::toAccessory;
}

HTTPFramer framerFor(Direction direction, bool partialStart, std::uint64_t offset,
                     FramingLimits limits) {
  if (partialStart || offset > 0) return HTTPFramer::inMidstream(direction, offset, limits);
  return HTTPFramer(direction, limits);
}

// Where the item is told to be: a message's first byte behind empty lines.
std::uint64_t placeOf(const StreamItem& item) {
  if (const auto* message = std::get_if<FramedMessage>(&item)) return message->headerOffset;
  if (const auto* damage = std::get_if<Damage>(&item)) return damage->offset;
  return std::get<Gap>(item).offset;
}

}  // namespace

HTTPConversation::HTTPConversation(std::uint64_t connection, bool partialStart,
                                   std::array<std::uint64_t, 2> offsets, FramingLimits limits,
                                   Emit emit)
    : sides_{Side{framerFor(Direction::toAccessory, partialStart, offsets[0], limits), offsets[0]},
             Side{framerFor(Direction::toController, partialStart, offsets[1], limits),
                  offsets[1]}},
      pairing_(connection),
      emit_(std::move(emit)) {}

void HTTPConversation::feed(Direction direction, ByteView bytes, CapturePlace place,
                            std::optional<std::int64_t> acknowledged) {
  // Whoever sends has received everything before, so nothing more of that belongs to what is there.
  const Direction other = opposite(direction);
  if (acknowledged == static_cast<std::int64_t>(sideOf(other).position)) {
    sideOf(other).framer.settle();
    drain(other);
  }
  Side& side = sideOf(direction);
  side.marks.push_back({side.position, place, acknowledged});
  side.position += bytes.size();
  side.framer.feed(bytes);
  drain(direction);
}

void HTTPConversation::skip(Direction direction, std::uint64_t length, CapturePlace place) {
  Side& side = sideOf(direction);
  side.marks.push_back({side.position, place, std::nullopt});
  side.position += length;
  side.framer.skip(length);
  drain(direction);
}

void HTTPConversation::finish() {
  for (const Direction direction : {Direction::toAccessory, Direction::toController}) {
    sideOf(direction).framer.finish();
    drain(direction);
    pairing_.finish(direction);
    emitPaired();
  }
}

void HTTPConversation::drain(Direction direction) {
  Side& side = sideOf(direction);
  while (std::optional<StreamItem> item = side.framer.next()) {
    const std::uint64_t offset = placeOf(*item);
    while (side.marks.size() > 1 && side.marks[1].offset <= offset) side.marks.pop_front();
    Mark mark;
    if (!side.marks.empty()) mark = side.marks.front();
    pairing_.add(direction, *std::move(item), mark.place, mark.acknowledged);
  }
  emitPaired();
}

void HTTPConversation::emitPaired() {
  while (std::optional<ExchangeRecord> record = pairing_.next()) emit_(*std::move(record));
}

}  // namespace qv::capture
