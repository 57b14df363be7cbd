#pragma once

#include <cstddef>
#include <optional>

#include "capture/http/framed_message.h"
#include "capture/http/framing_notes.h"
#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

struct HeaderEnd {
  std::size_t headerLength;  // without the empty line
  std::size_t totalLength;   // with it
};

// Searches for the empty line that ends a header. Shown the header again with more bytes each time,
// it goes on where it stopped. CR, LF and CRLF each end a line.
class HeaderScan {
 public:
  std::optional<HeaderEnd> advance(ByteView bytes, bool atEnd, FramedMessage& message) {
    for (;;) {
      while (scan_ < bytes.size() && bytes[scan_] != '\r' && bytes[scan_] != '\n') ++scan_;
      if (scan_ == bytes.size()) return std::nullopt;
      const bool returned = bytes[scan_] == '\r';
      if (returned && scan_ + 1 == bytes.size() && !atEnd) return std::nullopt;
      const bool pair = returned && scan_ + 1 < bytes.size() && bytes[scan_ + 1] == '\n';
      if (!pair) noteBareLineEnd(message, bytes[scan_], message.headerOffset + scan_);
      const std::size_t end = scan_ + (pair ? 2 : 1);
      if (scan_ == line_) return HeaderEnd{line_, end};
      scan_ = line_ = end;
    }
  }

 private:
  std::size_t scan_ = 0;
  std::size_t line_ = 0;
};

}  // namespace qv::capture
