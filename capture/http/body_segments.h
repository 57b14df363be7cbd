#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// A run of body bytes that stood together in the stream; it ends where the next one begins.
struct BodySegment {
  std::uint64_t bodyOffset = 0;
  std::uint64_t streamOffset = 0;
};

// Where the bytes of a body stood in the stream. A body that was sent in chunks of one byte has as
// many segments as bytes, so a segment is kept as its distances to the one before, in two bytes
// where both are below 128: less than the chunk took in the stream.
class QV_EXPORT BodySegments {
 public:
  // Behind those that are there, in the body and in the stream.
  void add(BodySegment segment);
  bool empty() const { return count_ == 0; }
  // Of a byte of the body, or of the place behind its last one. Not of a body without segments.
  std::uint64_t streamOffsetOf(std::uint64_t bodyOffset) const;
  // For those who look at each of them.
  std::vector<BodySegment> all() const;

  std::size_t heapBytes() const { return anchors_.capacity() * sizeof(Anchor) + steps_.capacity(); }

 private:
  // One segment in 64 is kept whole, so that a place is found without reading all of them.
  static constexpr std::size_t kAnchorDistance = 64;
  struct Anchor {
    BodySegment segment;
    std::size_t step = 0;  // where the distances to the next one begin
  };
  BodySegment stepFrom(BodySegment segment, std::size_t& step) const;

  std::vector<Anchor> anchors_;
  Bytes steps_;  // two numbers each, seven bits a byte, the lowest first
  BodySegment last_;
  std::size_t count_ = 0;
};

}  // namespace qv::capture
