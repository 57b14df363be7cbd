#pragma once

#include <cstddef>
#include <cstdint>

#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

// What one protocol layer hands to the next: the bytes that were captured and their length on the
// wire, which is larger where the capture cut the packet short.
struct LayerBytes {
  ByteView captured;
  std::size_t length = 0;

  // What follows a header that was captured.
  LayerBytes behind(std::size_t header) const {
    return {captured.subspan(header), length > header ? length - header : 0};
  }
};

enum class LayerOutcome : std::uint8_t {
  read,
  otherKind,    // no TCP in there
  notReadHere,  // there may be TCP in there
  unreadable,
};

struct LayerResult {
  LayerOutcome outcome = LayerOutcome::read;
  const char* reason = "";  // for notReadHere and unreadable, "its IP header is malformed"
};

}  // namespace qv::capture
