#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "capture/http/framed_message.h"
#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

inline bool isLineEnd(std::uint8_t byte) {
  return byte == '\r' || byte == '\n';
}

enum class StartLineCheck : std::uint8_t { no, yes, undecided };

// Whether a message begins with these bytes. Lenient, for places where one is due: "HTTP/" or
// "EVENT/" towards the controller, letters and a space towards the accessory. Undecided when there
// are too few bytes to tell.
StartLineCheck startLineAt(Direction direction, ByteView bytes);

// Whether a request with one of the usual methods begins with these bytes.
bool knownMethodAt(ByteView bytes);

// Searches for a start line where none is due. Stricter: "HTTP/1.x " or "EVENT/1.x " towards the
// controller, "METHOD target HTTP/1.x" within one line towards the accessory.
//
// The caller shows what is left of the stream again and again, consumes `length` bytes each time
// and appends what comes; no byte is looked at twice but for a few at the end.
class StartLineSearch {
 public:
  explicit StartLineSearch(Direction direction) : direction_(direction) {}

  struct Result {
    bool found = false;
    std::size_t length = 0;  // bytes that stand before a start line or cannot belong to one
  };
  Result advance(ByteView bytes, bool atEnd);

 private:
  Result advanceResponses(ByteView bytes, bool atEnd) const;
  Result advanceRequests(ByteView bytes, bool atEnd);
  Result release(std::size_t length);

  Direction direction_;
  // Requests only: what was scanned, the upper-case letters right before, and the method that the
  // target under scan would belong to.
  std::size_t scan_ = 0;
  std::size_t letterRun_ = 0;
  std::optional<std::size_t> method_;
  std::size_t target_ = 0;
};

}  // namespace qv::capture
