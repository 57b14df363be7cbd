#include "capture/http/recorded_message.h"

#include <cstddef>
#include <utility>

#include "capture/http/body_plan.h"
#include "capture/http/framing_fields.h"
#include "capture/http/framing_notes.h"
#include "capture/http/header_scan.h"

namespace qv::capture {
namespace {

void frameBody(FramedMessage& message) {
  const FramingFields fields = readFramingFields(message);
  const std::uint64_t length = message.body ? message.body->size() : 0;
  const bool lengthAgrees = length == fields.contentLength.value_or(0);
  bool possible = true;
  switch (bodyPlanOf(message, fields)) {
    case BodyPlan::none:
      possible = length == 0;
      break;
    case BodyPlan::contentLength:
      message.framing = BodyFraming::contentLength;
      possible = lengthAgrees;
      break;
    case BodyPlan::chunked:
      message.framing = BodyFraming::chunked;
      break;
    case BodyPlan::untilClose:
      message.framing = BodyFraming::untilClose;
      break;
    case BodyPlan::lengthUnreadable:
      message.completeness = Completeness::lengthUnreadable;
      break;
    case BodyPlan::announcedContentLength:
      if (length == 0) break;
      message.framing = BodyFraming::contentLength;
      possible = lengthAgrees;
      break;
    case BodyPlan::announcedChunked:
      if (length > 0) message.framing = BodyFraming::chunked;
      break;
    case BodyPlan::unannounced:
      if (length > 0) message.framing = BodyFraming::strayAfter204;
      break;
  }
  if (!possible) message.completeness = Completeness::bodyDamaged;
}

void applyLimit(FramedMessage& message, std::uint64_t limit) {
  const std::uint64_t header = message.header.size();
  const std::uint64_t body = message.body ? message.body->size() : 0;
  if (header <= limit && body <= limit - header) return;
  message.completeness = Completeness::tooLarge;
  message.body.reset();
  if (header > limit) message.header.resize(static_cast<std::size_t>(limit));
  noteLargerThanLimit(message, limit);
}

}  // namespace

FramedMessage recordedMessage(Direction direction, Bytes header, std::optional<Bytes> body,
                              FramingLimits limits) {
  FramedMessage message;
  message.isRecord = true;
  message.direction = direction;
  message.header = std::move(header);
  if (body && !body->empty()) message.body = std::move(body);
  message.kind = messageKindOf(direction, message.header);
  HeaderScan().advance(message.header, true, message);
  frameBody(message);
  applyLimit(message, limits.messageBytes);
  return message;
}

void placeAt(FramedMessage& message, std::uint64_t offset, std::uint64_t length) {
  message.beginOffset = message.headerOffset = message.bodyOffset = offset;
  message.endOffset = offset + length;
  for (FramingNote& note : message.notes) {
    note.offset = offset;
    note.length = 0;
  }
}

}  // namespace qv::capture
