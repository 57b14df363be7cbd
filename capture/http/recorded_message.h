#pragma once

#include <cstdint>
#include <optional>

#include "capture/http/framed_message.h"
#include "capture/http/http_framer.h"
#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

// The message of a capture that keeps header and body apart instead of the bytes of a stream. What
// a framer would tell of the header is told; a body that cannot have gone over the wire behind this
// header makes the message one whose body was changed. A body of no bytes becomes none.
//
// The header has its last line end and no blank line behind it. The message stands at offset 0; see
// `placeAt`.
FramedMessage recordedMessage(Direction direction, Bytes header, std::optional<Bytes> body,
                              FramingLimits limits = {});

// Lets the message and its notes stand at the place of their record in the input.
void placeAt(FramedMessage& message, std::uint64_t offset, std::uint64_t length);

}  // namespace qv::capture
