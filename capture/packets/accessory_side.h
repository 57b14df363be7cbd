#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "capture/http/start_line.h"
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
  // Bytes of this side are missing here, so that no start line goes on behind them.
  void skip(bool fromFirst);
  // How many of the last bytes of this side are the beginning of a start line, or may be.
  std::size_t pending(bool fromFirst) const;
  std::size_t heldBytes() const;

 private:
  // A search for start lines of one kind, and what it has to see again: at most kMostRest bytes, so
  // that a longer target of a request is not found before something else tells.
  struct Search {
    explicit Search(Direction of) : direction(of), search(of) {}
    bool find(ByteView bytes);

    Direction direction;
    StartLineSearch search;
    Bytes rest;
    std::size_t pending = 0;
  };
  struct Side {
    Search requests{Direction::toAccessory};
    Search responses{Direction::toController};
  };

  std::array<Side, 2> sides_;
  Answer answer_ = Answer::unknown;
};

}  // namespace qv::capture
