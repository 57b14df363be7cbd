#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "capture/capture_reader.h"
#include "capture/http/exchange_pairing.h"
#include "capture/http/http_framer.h"
#include "capture/http/item_queue.h"

namespace qv::capture {

// What one TCP connection says in HTTP: both directions framed, the exchanges paired.
class HTTPConversation {
 public:
  using Emit = std::function<void(ExchangeRecord)>;

  // How the stream towards the accessory and the one towards the controller begin.
  struct Beginning {
    bool isPartial = false;    // in its midst
    std::uint64_t offset = 0;  // what was before it is not known, or held no message
    bool isGivenUp = false;    // it may have begun a message
  };
  HTTPConversation(std::uint64_t connection, std::array<Beginning, 2> beginnings,
                   FramingLimits limits, Emit emit);
  HTTPConversation(const HTTPConversation&) = delete;
  HTTPConversation& operator=(const HTTPConversation&) = delete;

  // Bytes of a direction in order, with what their packet acknowledges of the other one.
  void feed(Direction direction, ByteView bytes, CapturePlace place,
            std::optional<std::int64_t> acknowledged);
  void skip(Direction direction, std::uint64_t length, CapturePlace place);
  // Frees what is held: emits what is unfinished, not to be judged, and goes on with the next start
  // lines.
  void giveUp();
  // How the streams, in the same order, ended.
  void finish(std::array<StreamEnd, 2> ends);

  // What is unfinished, in heap bytes: messages under construction, items that wait, requests
  // without a response.
  std::size_t heldBytes() const;
  // Frees what is held for its capacity alone.
  void trim();

 private:
  // Where a stretch of a stream came from; it ends where the next one begins.
  struct Mark {
    std::uint64_t offset = 0;
    CapturePlace place;
    std::optional<std::int64_t> acknowledged;
  };
  struct Side {
    HTTPFramer framer;
    std::uint64_t position = 0;
    Mark begin{};  // of the item under construction
    ItemQueue<Mark> recent{};
    std::uint64_t told = 0;  // the end of the items that were delivered
  };

  Side& sideOf(Direction direction) { return sides_[static_cast<std::size_t>(direction)]; }
  void prepareResponses();
  void mark(Side& side, CapturePlace place, std::optional<std::int64_t> acknowledged);
  static Mark markAt(Side& side, std::uint64_t offset);
  void drain(Direction direction, bool givenUp = false);
  bool isAbandoned(const FramedMessage& message) const;
  void emitPaired();

  FramingLimits limits_;
  std::array<Side, 2> sides_;
  // How much of the requests the accessory had received when it answered.
  std::int64_t answered_ = 0;
  ExchangePairing pairing_;
  Emit emit_;
};

}  // namespace qv::capture
