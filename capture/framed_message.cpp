#include "capture/framed_message.h"

#include <algorithm>

namespace qv::capture {

const char* completenessText(Completeness completeness) {
  switch (completeness) {
    case Completeness::complete:
      return "";
    case Completeness::headerCut:
      return "the capture ends inside the header";
    case Completeness::bodyCut:
      return "the capture ends inside the body";
    case Completeness::chunkUnreadable:
      return "the chunked coding of the body cannot be read on";
    case Completeness::lengthUnreadable:
      return "the length of the body cannot be told";
    case Completeness::tooLarge:
      return "larger than the limit";
    case Completeness::bytesMissing:
      return "the capture lacks bytes of it";
    case Completeness::bodyDamaged:
      return "its body was changed when the capture was written";
  }
  return "";
}

std::uint64_t endOf(const StreamItem& item) {
  if (const auto* message = std::get_if<FramedMessage>(&item)) return message->endOffset;
  if (const auto* damage = std::get_if<Damage>(&item)) return damage->offset + damage->length;
  const Gap& gap = std::get<Gap>(item);
  return gap.offset + gap.length;
}

std::uint64_t FramedMessage::streamOffsetOf(std::uint64_t offsetInBody) const {
  if (isRecord || !body || segments.empty()) return bodyOffset;
  const std::uint64_t wanted = std::min<std::uint64_t>(offsetInBody, body->size());
  auto after = std::upper_bound(
      segments.begin(), segments.end(), wanted,
      [](std::uint64_t value, const BodySegment& segment) { return value < segment.bodyOffset; });
  const BodySegment& segment = *std::prev(after);
  return segment.streamOffset + (wanted - segment.bodyOffset);
}

namespace {

bool liesWithin(std::uint64_t offset, std::uint64_t length, const FramedMessage& message) {
  return offset >= message.beginOffset && offset <= message.endOffset &&
         length <= message.endOffset - offset;
}

bool segmentsCoverBody(const FramedMessage& message) {
  if (!message.body) return message.segments.empty();
  if (message.body->empty() || message.segments.empty()) return false;
  if (message.segments.front().bodyOffset != 0) return false;
  std::uint64_t streamEnd = message.headerOffset + message.header.size();
  for (std::size_t i = 0; i < message.segments.size(); ++i) {
    const BodySegment& segment = message.segments[i];
    const std::uint64_t bodyEnd =
        i + 1 < message.segments.size() ? message.segments[i + 1].bodyOffset : message.body->size();
    if (bodyEnd <= segment.bodyOffset || segment.streamOffset < streamEnd) return false;
    streamEnd = segment.streamOffset + (bodyEnd - segment.bodyOffset);
  }
  return streamEnd <= message.endOffset;
}

bool pointsIntoItself(const FramedMessage& message) {
  if (message.header.empty() || message.endOffset < message.beginOffset) return false;
  if (!liesWithin(message.headerOffset, message.header.size(), message)) return false;
  if (!liesWithin(message.bodyOffset, 0, message)) return false;
  return segmentsCoverBody(message) &&
         std::all_of(message.notes.begin(), message.notes.end(), [&](const FramingNote& note) {
           return liesWithin(note.offset, note.length, message);
         });
}

}  // namespace

bool accountsForEveryByte(std::span<const StreamItem> items, std::uint64_t streamLength) {
  std::uint64_t position = 0;
  for (const StreamItem& item : items) {
    if (const auto* damage = std::get_if<Damage>(&item)) {
      if (damage->offset != position || damage->length == 0) return false;
      position += damage->length;
      continue;
    }
    if (const auto* gap = std::get_if<Gap>(&item)) {
      if (gap->offset < position || gap->length == 0) return false;
      // One that is inside of a message is accounted for by the message.
      if (gap->offset == position) position += gap->length;
      continue;
    }
    const auto& message = std::get<FramedMessage>(item);
    if (message.beginOffset != position || !pointsIntoItself(message)) return false;
    position = message.endOffset;
  }
  return position == streamLength;
}

}  // namespace qv::capture
