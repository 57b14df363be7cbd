#include "capture/http/framed_message.h"

#include <algorithm>

namespace qv::capture {

namespace {

struct CompletenessRow {
  Completeness completeness;
  const char* text;
  CutKind cut = CutKind::none;
};

constexpr CompletenessRow kCompletenessTexts[] = {
    {Completeness::complete, ""},
    {Completeness::headerCut, "the capture ends inside the header", CutKind::byCapture},
    {Completeness::bodyCut, "the capture ends inside the body", CutKind::byCapture},
    {Completeness::chunkUnreadable, "the chunked coding of the body cannot be read on"},
    {Completeness::lengthUnreadable, "the length of the body cannot be told"},
    {Completeness::tooLarge, "larger than the limit"},
    {Completeness::bytesMissing, "the capture lacks bytes of it"},
    {Completeness::bodyDamaged,
     "its body does not agree with its header, or was not recorded as it was sent"},
    {Completeness::givenUp, "given up to keep memory within bounds"},
    {Completeness::closedInHeader, "the connection was closed inside the header", CutKind::byClose},
    {Completeness::closedInBody, "the connection was closed inside the body", CutKind::byClose},
    {Completeness::resetInHeader, "the connection was reset inside the header", CutKind::byReset},
    {Completeness::resetInBody, "the connection was reset inside the body", CutKind::byReset},
    {Completeness::abandoned, "it was answered before it was sent to its end", CutKind::abandoned},
};

const CompletenessRow& rowFor(Completeness completeness) {
  return *std::ranges::find(kCompletenessTexts, completeness, &CompletenessRow::completeness);
}

}  // namespace

const char* completenessText(Completeness completeness) {
  return rowFor(completeness).text;
}

CutKind cutKindOf(Completeness completeness) {
  return rowFor(completeness).cut;
}

std::uint64_t endOf(const StreamItem& item) {
  if (const auto* message = std::get_if<FramedMessage>(&item)) return message->endOffset;
  if (const auto* damage = std::get_if<Damage>(&item)) return damage->offset + damage->length;
  const Gap& gap = std::get<Gap>(item);
  return gap.offset + gap.length;
}

std::uint64_t FramedMessage::streamOffsetOf(std::uint64_t offsetInBody) const {
  if (isRecord || !body || segments.empty()) return bodyOffset;
  return segments.streamOffsetOf(std::min<std::uint64_t>(offsetInBody, body->size()));
}

namespace {

bool liesWithin(std::uint64_t offset, std::uint64_t length, const FramedMessage& message) {
  return offset >= message.beginOffset && offset <= message.endOffset &&
         length <= message.endOffset - offset;
}

bool segmentsCoverBody(const FramedMessage& message) {
  if (!message.body) return message.segments.empty();
  if (message.body->empty() || message.segments.empty()) return false;
  const std::vector<BodySegment> segments = message.segments.all();
  if (segments.front().bodyOffset != 0) return false;
  std::uint64_t streamEnd = message.headerOffset + message.header.size();
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const BodySegment& segment = segments[i];
    const std::uint64_t bodyEnd =
        i + 1 < segments.size() ? segments[i + 1].bodyOffset : message.body->size();
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
