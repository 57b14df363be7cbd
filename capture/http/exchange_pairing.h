#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "capture/http/framed_message.h"
#include "capture/http/item_queue.h"
#include "capture/tcp/tcp_segment.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// One item of a connection in report order.
struct ExchangeRecord {
  std::uint64_t connection = 1;
  CapturePlace place;  // of its first byte
  Direction direction = Direction::toAccessory;
  StreamItem item;
  // For a request, its place among the requests of the connection, from 0.
  std::optional<std::uint64_t> requestIndex;
  // For a response, the request that it answers. Null when the capture holds none and when the
  // pairing is uncertain: a response must not be judged against a guessed request.
  std::optional<std::uint64_t> answers;
  // For a response that answers no known request, why; a literal. Empty otherwise.
  std::string_view unpairedReason;
  // True when messages that were lost make it impossible to tell what the response answers; false
  // when it is certain, also when it is certain that the capture holds no request for it.
  bool pairingUncertain = false;
  // No later record answers a request before this one.
  std::uint64_t oldestOpenRequest = 0;

  // Null when the item is something else.
  const FramedMessage* message() const { return std::get_if<FramedMessage>(&item); }
  const Damage* damage() const { return std::get_if<Damage>(&item); }
  const Gap* gap() const { return std::get_if<Gap>(&item); }
};

// A stretch of a direction that may hide messages.
struct PairingHole {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

// Pairs the responses of one connection with its requests, in order (RFC 9112, section 9.3.2).
//
// Requests come out as they are added. A response comes out as soon as the requests that it may
// answer are known: the one that is due, or what the response acknowledges, or the end of the
// requests. Events consume no request. The order within a direction is kept, and so the pairs are
// the same however the two directions are interleaved.
//
// Damage and gaps that may hide a whole message, and a message whose end had to be guessed, make
// the pairing of later responses uncertain; requests and events stay usable. Acknowledgements end
// the uncertainty, as far as the controller waits for responses: when a request was sent behind
// everything that was lost, and no request was ever seen on this connection before the response to
// the one before, the response behind it is its own.
//
// Where the capture begins in mid-connection, a request that nobody saw may be open. So the pairing
// is certain from the first request on whose sender had received an answer to each request that was
// seen before, and at least one; a response ahead of all requests has none.
//
// At most 256 requests, of 1 MiB together, wait for a response, and as much of responses for
// requests that are still to come; beyond, the pairing is uncertain.
class QV_EXPORT ExchangePairing {
 public:
  // `requestsBegin`: where the stream of the requests begins for us. `inMidst`: requests may have
  // been sent before.
  explicit ExchangePairing(std::uint64_t connection = 1, std::uint64_t requestsBegin = 0,
                           bool inMidst = false);

  // `acknowledged`: how many bytes of the other direction the sender had received when it sent the
  // first byte of the item; null when that is not known.
  void add(Direction direction, StreamItem item, CapturePlace place = {},
           std::optional<std::int64_t> acknowledged = std::nullopt);
  // Nothing more comes in this direction.
  void finish(Direction direction);
  // Frees what is held: items that wait come out, and responses to the requests so far are
  // uncertain.
  void giveUp();
  // Null when more is needed or, with both directions finished, when everything was told.
  std::optional<ExchangeRecord> next();

  // Whether a response that is added next, and begins there, is known to answer a HEAD request.
  bool answersHead(std::uint64_t begin, std::optional<std::int64_t> acknowledged) const;

  // Of the items that wait, and of the requests without a response, which whoever takes the records
  // has to keep.
  std::size_t heldBytes() const {
    return heldBytes_ + responses_.size() * sizeof(Held) + openBytes_ +
           open_.size() * kUpkeepOfRequest;
  }

 private:
  // What a request that was read costs beside its bytes, about.
  static constexpr std::size_t kUpkeepOfRequest = 1024;
  struct OpenRequest {
    std::uint64_t index = 0;
    std::uint64_t begin = 0;
    std::size_t bytes = 0;
    std::optional<std::int64_t> acknowledged;
    bool endKnown = true;
    bool isHead = false;
  };
  struct ResponsePlace {
    std::uint64_t begin = 0;
    std::optional<std::int64_t> acknowledged;
  };
  struct Held {
    ExchangeRecord record;
    std::optional<std::int64_t> acknowledged;
    std::size_t bytes = 0;

    ResponsePlace place() const { return {record.message()->beginOffset, acknowledged}; }
  };
  void addRequestItem(Held held);
  void release();
  bool mustWait(const Held& held) const;
  bool isAheadOfRequests(const Held& held) const;
  void notePipelining(const Held& held);
  void boundOpenRequests();
  void deliver(Held held);
  void pairResponse(Held& held);
  bool isAheadOfAllRequests(const ResponsePlace& response) const;
  void notePipeliningAround(const ResponsePlace& response);
  void noteAnswer(std::uint64_t end, std::uint64_t answers);
  bool isBehindAnswers(const OpenRequest& request) const;
  // As far as the acknowledgements tell.
  static bool mayAnswer(const ResponsePlace& response, const OpenRequest& request);
  const OpenRequest* openRequestFor(const ResponsePlace& response) const;
  const OpenRequest* certainRequestFor(const ResponsePlace& response) const;
  void closeRequests(std::uint64_t before);
  void noteRequestHole(PairingHole hole);

  std::uint64_t connection_;
  ItemQueue<ExchangeRecord> ready_;
  ItemQueue<Held> responses_;  // those that wait, and what stands behind them
  std::size_t heldBytes_ = 0;
  ItemQueue<OpenRequest> open_;  // without a final response so far
  std::size_t openBytes_ = 0;
  std::optional<std::uint64_t> lastResponseBegin_;  // of the last final response with a request
  std::uint64_t requestCount_ = 0;
  std::uint64_t requestPosition_;  // how much of their stream was added
  bool requestsFinished_ = false;
  bool waits_ = true;  // responses for their requests
  bool responsesFinished_ = false;
  bool pipelined_ = false;  // a request was sent before the response to the one before
  std::vector<PairingHole> requestHoles_;
  std::optional<PairingHole> responseHole_;  // the last one
  std::string_view uncertainty_;             // why the pairing is not known; empty while it is
  bool inMidst_ = false;                     // a request that nobody saw may be open; then also:
  std::uint64_t answers_ = 0;                // that were seen, or may have been lost
  std::optional<std::uint64_t> answersEnd_;
};

}  // namespace qv::capture
