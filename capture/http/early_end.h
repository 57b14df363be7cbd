#pragma once

#include <optional>
#include <string>

#include "capture/http/framed_message.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// What was due of a message whose sender closed the connection in its midst, and what came.
struct EarlyEnd {
  std::string text;      // "the connection was closed inside the body: 145 of 165 bytes came"
  std::string expected;  // "165 bytes"
  std::string actual;    // "145 bytes"
};

// Null for other messages.
QV_EXPORT std::optional<EarlyEnd> earlyEndOf(const FramedMessage& message);

}  // namespace qv::capture
