#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string_view>

#include "capture/http/exchange_pairing.h"
#include "capture/http/framed_message.h"
#include "capture/tcp/tcp_segment.h"

namespace qv::capture {

// What a message of a paired connection says of its exchange; see ExchangeRecord.
struct ToldPairing {
  std::optional<std::uint64_t> requestIndex;
  std::optional<std::uint64_t> answers;
  std::string_view unpairedReason;
  bool uncertain = false;
  std::optional<std::uint64_t> oldestOpenRequest;
};

// One connection of an input of records, of which each stands at its place in the input.
class RecordConnection {
 public:
  RecordConnection(std::uint64_t number, bool paired)
      : number_(number), paired_(paired), pairing_(number) {}

  std::uint64_t number() const { return number_; }
  bool paired() const { return paired_; }

  // The length that an answer to HEAD announces is that of a body which it does not have: lets such
  // a message that is to be added next, not one of a paired connection, be whole.
  void frameAnswerToHead(FramedMessage& message) const;
  // Pairs by the order of the records: whoever sent a message had received all that stands before.
  void add(FramedMessage message, CapturePlace place);
  // Of a paired connection. False when the request does not stand behind those before it.
  bool addPaired(FramedMessage message, CapturePlace place, const ToldPairing& told);
  // A gap or damage that has a record of its own, `length` bytes at `offset` in the input.
  void add(StreamItem item, Direction direction, CapturePlace place, std::uint64_t offset,
           std::uint64_t length);
  // A record that cannot be read, and may have held a message.
  void lose(Direction direction, std::uint64_t offset, std::uint64_t length,
            DamageKind kind = DamageKind::noMessage);
  // The same for one of an unknown direction; told again, it changes nothing.
  void loseOnce(std::uint64_t offset, std::uint64_t length);
  void finish();

  std::optional<ExchangeRecord> next();

 private:
  std::uint64_t& end(Direction direction) { return ends_[direction == Direction::toController]; }
  void drain();

  std::uint64_t number_;
  bool paired_;
  ExchangePairing pairing_;
  std::uint64_t ends_[2] = {};  // of the last record in each direction
  std::uint64_t lostEnd_ = 0;
  std::deque<ExchangeRecord> ready_;
  // Paired: the requests that may still be answered, of which the first have the lowest index.
  std::deque<std::uint64_t> open_;
  std::uint64_t nextRequest_ = 0;
  std::uint64_t oldestOpen_ = 0;
};

}  // namespace qv::capture
