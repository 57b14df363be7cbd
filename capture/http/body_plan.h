#pragma once

#include <cstdint>

#include "capture/http/framed_message.h"
#include "capture/http/framing_fields.h"

namespace qv::capture {

// What the header says about the body (RFC 9112, section 6.3).
enum class BodyPlan : std::uint8_t {
  none,
  contentLength,
  chunked,
  untilClose,
  lengthUnreadable,
  // Of a response that should have no body. What is there is kept all the same, so that it can be
  // objected to.
  announcedContentLength,
  announcedChunked,
  unannounced,  // after a 204
};

BodyPlan bodyPlanOf(const FramedMessage& message, const FramingFields& fields);

}  // namespace qv::capture
