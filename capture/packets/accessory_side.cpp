#include "capture/packets/accessory_side.h"

#include <algorithm>
#include <cstddef>

namespace qv::capture {
namespace {

// A request line with a target as long as any that is searched for.
constexpr std::size_t kMostRest = std::size_t{66} << 10;

}  // namespace

AccessorySide::Answer AccessorySide::look(bool fromFirst, ByteView bytes) {
  if (answer_ != Answer::unknown) return answer_;
  Side& side = sides_[fromFirst ? 0 : 1];
  if (side.responses.find(bytes)) {
    answer_ = fromFirst ? Answer::first : Answer::second;
  } else if (side.requests.find(bytes)) {
    answer_ = fromFirst ? Answer::second : Answer::first;
  }
  return answer_;
}

void AccessorySide::skip(bool fromFirst) {
  sides_[fromFirst ? 0 : 1] = Side();
}

std::size_t AccessorySide::pending(bool fromFirst) const {
  const Side& side = sides_[fromFirst ? 0 : 1];
  return std::max(side.requests.pending, side.responses.pending);
}

std::size_t AccessorySide::heldBytes() const {
  std::size_t bytes = 0;
  for (const Side& side : sides_) {
    bytes += side.requests.rest.capacity() + side.responses.rest.capacity();
  }
  return bytes;
}

bool AccessorySide::Search::find(ByteView bytes) {
  if (!rest.empty()) {
    rest.insert(rest.end(), bytes.begin(), bytes.end());
    bytes = rest;
  }
  const StartLineSearch::Result result = search.advance(bytes, false);
  const ByteView kept = bytes.subspan(result.length);
  pending = result.found || kept.size() <= kMostRest ? kept.size() : 0;
  if (kept.size() > kMostRest) {
    search = StartLineSearch(direction);
    rest = Bytes();
  } else if (kept.size() < rest.size() || rest.empty()) {
    rest = Bytes(kept.begin(), kept.end());
  }
  return result.found;
}

}  // namespace qv::capture
