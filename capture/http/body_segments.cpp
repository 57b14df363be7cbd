#include "capture/http/body_segments.h"

#include <algorithm>
#include <iterator>

namespace qv::capture {
namespace {

constexpr std::uint8_t kMore = 0x80;

void appendNumber(Bytes& bytes, std::uint64_t number) {
  for (; number >= kMore; number >>= 7) {
    bytes.push_back(static_cast<std::uint8_t>(number | kMore));
  }
  bytes.push_back(static_cast<std::uint8_t>(number));
}

std::uint64_t readNumber(const Bytes& bytes, std::size_t& at) {
  std::uint64_t number = 0;
  for (unsigned shift = 0;; shift += 7) {
    const std::uint8_t byte = bytes[at++];
    number |= std::uint64_t{byte & 0x7fU} << shift;
    if ((byte & kMore) == 0) return number;
  }
}

}  // namespace

void BodySegments::add(BodySegment segment) {
  if (count_ % kAnchorDistance == 0) {
    anchors_.push_back({segment, steps_.size()});
  } else {
    appendNumber(steps_, segment.bodyOffset - last_.bodyOffset);
    appendNumber(steps_, segment.streamOffset - last_.streamOffset);
  }
  last_ = segment;
  ++count_;
}

BodySegment BodySegments::stepFrom(BodySegment segment, std::size_t& step) const {
  segment.bodyOffset += readNumber(steps_, step);
  segment.streamOffset += readNumber(steps_, step);
  return segment;
}

std::uint64_t BodySegments::streamOffsetOf(std::uint64_t bodyOffset) const {
  if (bodyOffset >= last_.bodyOffset) {
    return last_.streamOffset + (bodyOffset - last_.bodyOffset);
  }
  const auto after = std::upper_bound(anchors_.begin(), anchors_.end(), bodyOffset,
                                      [](std::uint64_t offset, const Anchor& anchor) {
                                        return offset < anchor.segment.bodyOffset;
                                      });
  const auto anchor = std::prev(after);
  BodySegment segment = anchor->segment;
  const std::size_t end = after == anchors_.end() ? steps_.size() : after->step;
  for (std::size_t step = anchor->step; step < end;) {
    const BodySegment next = stepFrom(segment, step);
    if (next.bodyOffset > bodyOffset) break;
    segment = next;
  }
  return segment.streamOffset + (bodyOffset - segment.bodyOffset);
}

std::vector<BodySegment> BodySegments::all() const {
  std::vector<BodySegment> segments;
  segments.reserve(count_);
  std::size_t step = 0;
  for (std::size_t index = 0; index < count_; ++index) {
    segments.push_back(index % kAnchorDistance == 0 ? anchors_[index / kAnchorDistance].segment
                                                    : stepFrom(segments.back(), step));
  }
  return segments;
}

}  // namespace qv::capture
