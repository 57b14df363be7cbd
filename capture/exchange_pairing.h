#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "capture/stream_items.h"
#include "capture/tcp_segment.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// One item of a connection in report order.
struct ExchangeRecord {
  std::uint64_t connection = 1;
  CapturePlace place;
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

  // Null when the item is something else.
  const FramedMessage* message() const { return std::get_if<FramedMessage>(&item); }
  const Damage* damage() const { return std::get_if<Damage>(&item); }
  const Gap* gap() const { return std::get_if<Gap>(&item); }
};

// Pairs the responses of one connection with its requests, in order (RFC 9112, section 9.3.2).
//
// Report order: a request, then what stands in the response stream up to and with its final
// response (informational responses, events, damage), then the next request. Events consume no
// request. When one stream ends the rest of the other follows.
//
// Damage that may hide a whole message, and a message whose end had to be guessed, make the pairing
// of every later response on the connection uncertain; requests and events stay usable.
//
// Both sources are read only as far as the next record asks for, so memory does not grow with the
// length of the capture.
class QV_EXPORT ExchangePairing {
 public:
  ExchangePairing(std::shared_ptr<StreamItemSource> requests,
                  std::shared_ptr<StreamItemSource> responses);

  // Null when both streams are exhausted.
  std::optional<ExchangeRecord> next();

 private:
  std::optional<ExchangeRecord> nextRequestRecord();
  std::optional<ExchangeRecord> nextResponseRecord();
  void pairResponse(ExchangeRecord& record) const;

  std::shared_ptr<StreamItemSource> requests_;
  std::shared_ptr<StreamItemSource> responses_;
  std::uint64_t requestCount_ = 0;
  std::optional<std::uint64_t> openRequest_;  // the request whose final response is to come
  bool openRequestEndKnown_ = true;
  bool requestsEnded_ = false;
  std::string_view uncertainty_;  // why the pairing is no longer known; empty while it is
};

}  // namespace qv::capture
