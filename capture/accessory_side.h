#pragma once

#include <array>
#include <cstdint>

#include "capture/start_line.h"
#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

// Which of the two sides of a connection is the accessory, told by what they send: requests go to
// it, responses and events come from it.
class AccessorySide {
 public:
  enum class Answer : std::uint8_t { unknown, first, second };
  // The next bytes that one side sent; once known the answer stays.
  Answer look(bool fromFirst, ByteView bytes);
  Answer answer() const { return answer_; }

 private:
  // A search for start lines of one kind, and what it has to see again.
  struct Search {
    StartLineSearch search;
    Bytes rest;
    bool find(ByteView bytes);
  };
  struct Side {
    Search requests{StartLineSearch(Direction::toAccessory), {}};
    Search responses{StartLineSearch(Direction::toController), {}};
  };

  std::array<Side, 2> sides_;
  Answer answer_ = Answer::unknown;
};

}  // namespace qv::capture
