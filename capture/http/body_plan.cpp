#include "capture/http/body_plan.h"

namespace qv::capture {
namespace {

BodyPlan planWithoutContent(int status, const FramingFields& fields) {
  if (fields.chunked) return BodyPlan::announcedChunked;
  if (fields.unknownCoding) return BodyPlan::none;
  if (fields.contentLength.value_or(0) > 0) return BodyPlan::announcedContentLength;
  return status == 204 && !fields.contentLength ? BodyPlan::unannounced : BodyPlan::none;
}

}  // namespace

BodyPlan bodyPlanOf(const FramedMessage& message, const FramingFields& fields) {
  const bool isRequest = message.direction == Direction::toAccessory;
  const int status = isRequest ? 0 : statusCodeOf(message.header);
  if ((status >= 100 && status < 200) || status == 204 || status == 304) {
    return planWithoutContent(status, fields);
  }
  if (fields.chunked) return BodyPlan::chunked;
  if (fields.unknownCoding) return isRequest ? BodyPlan::lengthUnreadable : BodyPlan::untilClose;
  if (fields.contentLength) return BodyPlan::contentLength;
  if (fields.contentLengthUnreadable) return BodyPlan::lengthUnreadable;
  return isRequest ? BodyPlan::none : BodyPlan::untilClose;
}

}  // namespace qv::capture
