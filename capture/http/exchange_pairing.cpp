#include "capture/http/exchange_pairing.h"

#include <algorithm>
#include <utility>

#include "capture/http/unpaired_reasons.h"

namespace qv::capture {
namespace {

// What may wait for a request before it is taken for one without.
constexpr std::size_t kMostHeldBytes = std::size_t{1} << 20;
constexpr std::size_t kMostHeldItems = 256;
// Requests that wait for a response at once; more are taken for unanswered.
constexpr std::size_t kMostOpenRequests = 256;
// Stretches of the requests that may hide some and that a response may still have to do with; the
// oldest ones are taken together.
constexpr std::size_t kMostRequestHoles = 64;

std::size_t bytesOf(const StreamItem& item) {
  const auto* message = std::get_if<FramedMessage>(&item);
  if (message == nullptr) return 0;
  return message->header.size() + (message->body ? message->body->size() : 0) +
         message->segments.heapBytes();
}

// A gap, or what it left of a message.
bool isMissing(const StreamItem& item) {
  const auto* damage = std::get_if<Damage>(&item);
  return damage == nullptr || isRest(damage->kind);
}

std::optional<PairingHole> holeOf(const StreamItem& item) {
  if (const auto* damage = std::get_if<Damage>(&item)) {
    if (!damage->mayHideMessages && !isRest(damage->kind)) return std::nullopt;
    return PairingHole{damage->offset, damage->offset + damage->length};
  }
  const Gap& gap = std::get<Gap>(item);
  if (!gap.mayHideMessages) return std::nullopt;
  return PairingHole{gap.offset, gap.offset + gap.length};
}

bool waitsForRequest(const ExchangeRecord& record) {
  const FramedMessage* message = record.message();
  return message != nullptr && message->kind != MessageKind::event;
}

}  // namespace

ExchangePairing::ExchangePairing(std::uint64_t connection, std::uint64_t requestsBegin,
                                 bool inMidst)
    : connection_(connection), requestPosition_(requestsBegin), inMidst_(inMidst) {
  if (inMidst) uncertainty_ = kBeginsInMidst;
}

void ExchangePairing::add(Direction direction, StreamItem item, CapturePlace place,
                          std::optional<std::int64_t> acknowledged) {
  Held held;
  held.bytes = bytesOf(item);
  held.acknowledged = acknowledged;
  held.record.connection = connection_;
  held.record.place = place;
  held.record.direction = direction;
  held.record.item = std::move(item);
  if (direction == Direction::toAccessory) {
    addRequestItem(std::move(held));
  } else {
    heldBytes_ += held.bytes;
    responses_.push_back(std::move(held));
  }
  release();
}

void ExchangePairing::finish(Direction direction) {
  if (direction == Direction::toAccessory) {
    requestsFinished_ = true;
    release();
  } else {
    responsesFinished_ = true;
    if (responses_.empty()) closeRequests(requestCount_);
  }
}

void ExchangePairing::giveUp() {
  waits_ = false;
  release();
  waits_ = true;
  if (open_.empty()) return;
  noteRequestHole({open_.front().begin, requestPosition_});
  closeRequests(requestCount_);
  uncertainty_ = kGivenUp;
}

std::optional<ExchangeRecord> ExchangePairing::next() {
  if (ready_.empty()) return std::nullopt;
  ExchangeRecord record = std::move(ready_.front());
  ready_.pop_front();
  return record;
}

void ExchangePairing::addRequestItem(Held held) {
  // A gap that begins behind the items so far is inside of the message that comes next: what the
  // accessory had received there is known with that message.
  const auto* gap = std::get_if<Gap>(&held.record.item);
  if (gap == nullptr || gap->offset <= requestPosition_) {
    requestPosition_ = std::max(requestPosition_, endOf(held.record.item));
  }
  if (const FramedMessage* request = held.record.message()) {
    notePipelining(held);
    held.record.requestIndex = requestCount_;
    openBytes_ += held.bytes;
    open_.push_back(OpenRequest{requestCount_++, request->beginOffset, held.bytes,
                                held.acknowledged, request->endKnown,
                                textOf(request->header).starts_with("HEAD ")});
    boundOpenRequests();
  } else if (const std::optional<PairingHole> hole = holeOf(held.record.item)) {
    noteRequestHole(*hole);
    uncertainty_ = isMissing(held.record.item) ? kRequestMissing : kRequestSkipped;
  }
  held.record.oldestOpenRequest = open_.empty() ? requestCount_ : open_.front().index;
  ready_.push_back(std::move(held.record));
}

// A request that was sent before the response to the one before.
void ExchangePairing::notePipelining(const Held& held) {
  if (!held.acknowledged) return;
  const bool sameAsBefore = !open_.empty() && open_.back().acknowledged == held.acknowledged;
  const bool beforeResponse =
      lastResponseBegin_ && *held.acknowledged <= static_cast<std::int64_t>(*lastResponseBegin_);
  pipelined_ = pipelined_ || sameAsBefore || beforeResponse;
}

// A request that is given up may be answered all the same.
void ExchangePairing::boundOpenRequests() {
  if (responsesFinished_) closeRequests(requestCount_);
  while (open_.size() > kMostOpenRequests || (openBytes_ > kMostHeldBytes && open_.size() > 1)) {
    const std::uint64_t begin = open_.front().begin;
    closeRequests(open_.front().index + 1);
    noteRequestHole({begin, open_.front().begin});
    uncertainty_ = kTooManyOpen;
  }
}

void ExchangePairing::noteRequestHole(PairingHole hole) {
  requestHoles_.push_back(hole);
  if (requestHoles_.size() <= kMostRequestHoles) return;
  requestHoles_.front().begin = 0;
  requestHoles_.erase(requestHoles_.begin() + 1);
}

void ExchangePairing::release() {
  while (!responses_.empty() && !mustWait(responses_.front())) {
    heldBytes_ -= responses_.front().bytes;
    Held held = std::move(responses_.front());
    responses_.pop_front();
    if (isAheadOfRequests(held)) {
      // The limits let it go; its request may come.
      const std::uint64_t end = static_cast<std::uint64_t>(held.acknowledged.value_or(0));
      noteRequestHole({requestPosition_, std::max(end, requestPosition_ + 1)});
      uncertainty_ = kRequestMayFollow;
    }
    deliver(std::move(held));
  }
}

bool ExchangePairing::mustWait(const Held& held) const {
  if (!waits_ || heldBytes_ > kMostHeldBytes || responses_.size() > kMostHeldItems) return false;
  return isAheadOfRequests(held);
}

bool ExchangePairing::isAheadOfRequests(const Held& held) const {
  if (requestsFinished_ || !waitsForRequest(held.record)) return false;
  // What the accessory had received when it answered is to be there first.
  if (held.acknowledged) return *held.acknowledged > static_cast<std::int64_t>(requestPosition_);
  return open_.empty();
}

void ExchangePairing::deliver(Held held) {
  ExchangeRecord& record = held.record;
  const FramedMessage* message = record.message();
  if (message == nullptr) {
    if (const std::optional<PairingHole> hole = holeOf(record.item)) {
      responseHole_ = hole;
      noteAnswer(hole->end, requestCount_);
      uncertainty_ = isMissing(record.item) ? kResponseMissing : kResponseSkipped;
    }
  } else {
    if (message->kind != MessageKind::event) pairResponse(held);
    if (message->kind == MessageKind::response) noteAnswer(message->endOffset, answers_ + 1);
    if (!message->endKnown) {
      uncertainty_ = kResponseEndUnknown;
      responseHole_ = PairingHole{message->beginOffset, message->endOffset};
    }
  }
  record.oldestOpenRequest = open_.empty() ? requestCount_ : open_.front().index;
  ready_.push_back(std::move(record));
}

void ExchangePairing::pairResponse(Held& held) {
  ExchangeRecord& record = held.record;
  const MessageKind kind = record.message()->kind;
  if (kind == MessageKind::unknown) {
    record.unpairedReason = kNoFirstWord;
    record.pairingUncertain = true;
    return;
  }
  const OpenRequest* request = nullptr;
  if (inMidst_ && kind == MessageKind::response) notePipeliningAround(held.place());
  if (uncertainty_.empty() || isAheadOfAllRequests(held.place())) {
    if (uncertainty_.empty()) request = openRequestFor(held.place());
    if (request == nullptr) record.unpairedReason = kNoRequest;
  } else if ((request = certainRequestFor(held.place())) != nullptr) {
    inMidst_ = false;
    std::erase_if(requestHoles_,
                  [&](const PairingHole& hole) { return hole.end <= request->begin; });
    // Holes ahead are yet to be passed.
    if (requestHoles_.empty()) uncertainty_ = {};
  } else {
    record.unpairedReason = uncertainty_;
    record.pairingUncertain = true;
    // It answers one of them all the same.
    if (kind == MessageKind::response && !held.acknowledged && !open_.empty()) {
      closeRequests(open_.front().index + 1);
    }
    return;
  }
  if (request == nullptr) return;
  record.answers = request->index;
  if (kind != MessageKind::response) return;
  lastResponseBegin_ = record.message()->beginOffset;
  const auto follows = std::find_if(open_.begin(), open_.end(), [&](const OpenRequest& other) {
    return other.index > request->index;
  });
  if (follows != open_.end() && follows->acknowledged &&
      *follows->acknowledged <= static_cast<std::int64_t>(*lastResponseBegin_)) {
    pipelined_ = true;
  }
  if (!request->endKnown) {
    uncertainty_ = kRequestEndUnknown;
    noteRequestHole({request->begin, requestPosition_});
  }
  closeRequests(request->index + 1);
}

// With nothing lost but what was before the capture.
bool ExchangePairing::isAheadOfAllRequests(const ResponsePlace& response) const {
  return uncertainty_ == kBeginsInMidst &&
         std::ranges::none_of(
             open_, [&](const OpenRequest& request) { return mayAnswer(response, request); });
}

// Where several requests were open that were sent before the response came.
void ExchangePairing::notePipeliningAround(const ResponsePlace& response) {
  const auto last = std::find_if(open_.rbegin(), open_.rend(), [&](const OpenRequest& request) {
    return request.acknowledged &&
           *request.acknowledged <= static_cast<std::int64_t>(response.begin);
  });
  if (last == open_.rend()) return;
  const bool crosses =
      response.acknowledged && *response.acknowledged <= static_cast<std::int64_t>(last->begin);
  pipelined_ = pipelined_ || crosses || last->index > answers_;
}

void ExchangePairing::noteAnswer(std::uint64_t end, std::uint64_t answers) {
  answers_ = std::max(answers_, answers);
  answersEnd_ = end;
}

// No request from before the capture is open then, as far as the controller waits for responses.
bool ExchangePairing::isBehindAnswers(const OpenRequest& request) const {
  return answersEnd_ && static_cast<std::int64_t>(*answersEnd_) <= *request.acknowledged &&
         answers_ >= request.index;
}

bool ExchangePairing::answersHead(std::uint64_t begin,
                                  std::optional<std::int64_t> acknowledged) const {
  if (!responses_.empty()) return false;
  const ResponsePlace response{begin, acknowledged};
  const OpenRequest* request =
      uncertainty_.empty() ? openRequestFor(response) : certainRequestFor(response);
  return request != nullptr && request->isHead;
}

// The one that is due, unless the acknowledgements say that it was sent after the response.
const ExchangePairing::OpenRequest* ExchangePairing::openRequestFor(
    const ResponsePlace& response) const {
  if (open_.empty() || !mayAnswer(response, open_.front())) return nullptr;
  return &open_.front();
}

// After bytes were lost: the last request that was sent before the response, when nothing that
// could have been answered instead was lost behind it.
const ExchangePairing::OpenRequest* ExchangePairing::certainRequestFor(
    const ResponsePlace& response) const {
  if (pipelined_ || !response.acknowledged) return nullptr;
  const auto last = std::find_if(open_.rbegin(), open_.rend(), [&](const OpenRequest& request) {
    return request.acknowledged && mayAnswer(response, request);
  });
  if (last == open_.rend() || !last->endKnown) return nullptr;
  if (inMidst_ && !isBehindAnswers(*last)) return nullptr;
  const auto received = static_cast<std::uint64_t>(std::max<std::int64_t>(*last->acknowledged, 0));
  const auto between = [&](const PairingHole& hole) {
    return hole.end > last->begin && static_cast<std::int64_t>(hole.begin) < *response.acknowledged;
  };
  if (std::any_of(requestHoles_.begin(), requestHoles_.end(), between)) return nullptr;
  if (responseHole_ && responseHole_->end > received) return nullptr;
  return &*last;
}

bool ExchangePairing::mayAnswer(const ResponsePlace& response, const OpenRequest& request) {
  const auto begin = static_cast<std::int64_t>(request.begin);
  const auto responseBegin = static_cast<std::int64_t>(response.begin);
  return (!response.acknowledged || begin < *response.acknowledged) &&
         (!request.acknowledged || *request.acknowledged <= responseBegin);
}

void ExchangePairing::closeRequests(std::uint64_t before) {
  while (!open_.empty() && open_.front().index < before) {
    openBytes_ -= open_.front().bytes;
    open_.pop_front();
  }
}

}  // namespace qv::capture
