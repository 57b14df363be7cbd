#pragma once

#include <cstdint>
#include <optional>

#include "capture/http/framed_message.h"

namespace qv::capture {

// What a header says about the length of its body.
struct FramingFields {
  std::optional<std::uint64_t> contentLength;  // saturated
  bool contentLengthUnreadable = false;        // and no other one could be read
  bool chunked = false;                        // the last transfer coding is "chunked"
  bool unknownCoding = false;                  // there is a transfer coding, and the last is not
};

// Reads the framing fields of the message's header and notes what is odd about them.
FramingFields readFramingFields(FramedMessage& message);

// The status code of a response's or event's header, 0 when three digits do not stand there.
int statusCodeOf(ByteView header);

// Requests are all that goes to the accessory; the rest is told by the first word and the code.
MessageKind messageKindOf(Direction direction, ByteView header);

}  // namespace qv::capture
