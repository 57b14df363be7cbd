#include "capture/exchange_pairing.h"

#include <utility>

namespace qv::capture {

ExchangePairing::ExchangePairing(std::shared_ptr<StreamItemSource> requests,
                                 std::shared_ptr<StreamItemSource> responses)
    : requests_(std::move(requests)), responses_(std::move(responses)) {}

std::optional<ExchangeRecord> ExchangePairing::next() {
  for (;;) {
    if (!openRequest_ && !requestsEnded_) {
      if (std::optional<ExchangeRecord> record = nextRequestRecord()) return record;
      requestsEnded_ = true;
    }
    if (std::optional<ExchangeRecord> record = nextResponseRecord()) return record;
    if (requestsEnded_) return std::nullopt;
    openRequest_.reset();
  }
}

std::optional<ExchangeRecord> ExchangePairing::nextRequestRecord() {
  std::optional<StreamItem> item = requests_->next();
  if (!item) return std::nullopt;
  ExchangeRecord record;
  record.direction = Direction::toAccessory;
  record.item = std::move(*item);
  if (const FramedMessage* request = record.message()) {
    record.requestIndex = requestCount_++;
    openRequest_ = record.requestIndex;
    openRequestEndKnown_ = request->endKnown;
  } else if (record.damage()->mayHideMessages) {
    uncertainty_ = "skipped bytes may hide a request";
  }
  return record;
}

std::optional<ExchangeRecord> ExchangePairing::nextResponseRecord() {
  std::optional<StreamItem> item = responses_->next();
  if (!item) return std::nullopt;
  ExchangeRecord record;
  record.direction = Direction::toController;
  record.item = std::move(*item);
  const FramedMessage* message = record.message();
  if (message == nullptr) {
    if (record.damage()->mayHideMessages) uncertainty_ = "skipped bytes may hide a response";
    return record;
  }
  if (message->kind != MessageKind::event) pairResponse(record);
  if (message->kind == MessageKind::response) {
    if (openRequest_ && !openRequestEndKnown_) {
      uncertainty_ = "the end of an earlier request is not known";
    }
    openRequest_.reset();
  }
  if (!message->endKnown) uncertainty_ = "the end of an earlier response is not known";
  return record;
}

void ExchangePairing::pairResponse(ExchangeRecord& record) const {
  if (record.message()->kind == MessageKind::unknown) {
    record.unpairedReason = "the capture ends before its first word";
    record.pairingUncertain = true;
  } else if (!uncertainty_.empty()) {
    record.unpairedReason = uncertainty_;
    record.pairingUncertain = true;
  } else if (openRequest_) {
    record.answers = openRequest_;
  } else {
    record.unpairedReason = "the capture holds no request for it";
  }
}

}  // namespace qv::capture
