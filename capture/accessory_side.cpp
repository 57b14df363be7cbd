#include "capture/accessory_side.h"

#include <cstddef>

namespace qv::capture {

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

bool AccessorySide::Search::find(ByteView bytes) {
  rest.insert(rest.end(), bytes.begin(), bytes.end());
  const StartLineSearch::Result result = search.advance(rest, false);
  rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(result.length));
  return result.found;
}

}  // namespace qv::capture
