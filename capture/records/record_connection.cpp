#include "capture/records/record_connection.h"

#include <algorithm>
#include <utility>

#include "capture/http/unpaired_reasons.h"

namespace qv::capture {
namespace {

// Requests of a paired connection that are kept as open.
constexpr std::size_t kMostOpenRequests = 256;

Direction opposite(Direction direction) {
  return direction == Direction::toAccessory ? Direction::toController : Direction::toAccessory;
}

}  // namespace

void RecordConnection::frameAnswerToHead(FramedMessage& message) const {
  const bool lacksBody = message.completeness == Completeness::bodyDamaged && !message.body;
  if (message.kind != MessageKind::response || !lacksBody) return;
  const auto received = static_cast<std::int64_t>(ends_[0]);
  if (!pairing_.answersHead(message.beginOffset, received)) return;
  message.completeness = Completeness::complete;
  message.framing = BodyFraming::none;
}

void RecordConnection::add(FramedMessage message, CapturePlace place) {
  const Direction direction = message.direction;
  const auto received = static_cast<std::int64_t>(end(opposite(direction)));
  end(direction) = message.endOffset;
  pairing_.add(direction, std::move(message), place, received);
  drain();
}

bool RecordConnection::addPaired(FramedMessage message, CapturePlace place,
                                 const ToldPairing& told) {
  ExchangeRecord record;
  record.connection = number_;
  record.place = place;
  record.direction = message.direction;
  if (message.direction == Direction::toAccessory) {
    const std::uint64_t index = told.requestIndex.value_or(nextRequest_);
    if (index < nextRequest_ || index == UINT64_MAX) return false;
    record.requestIndex = index;
    nextRequest_ = index + 1;
    open_.push_back(index);
    if (open_.size() > kMostOpenRequests) open_.pop_front();
  } else if (message.kind != MessageKind::event) {
    record.unpairedReason = told.unpairedReason;
    record.pairingUncertain = told.uncertain;
    if (told.answers && std::binary_search(open_.begin(), open_.end(), *told.answers)) {
      record.answers = told.answers;
    } else if (told.answers) {
      record.unpairedReason = kRequestSkipped;
      record.pairingUncertain = true;
    }
  }
  if (told.oldestOpenRequest) {
    oldestOpen_ = std::max(oldestOpen_, std::min(*told.oldestOpenRequest, nextRequest_));
  }
  while (!open_.empty() && open_.front() < oldestOpen_) open_.pop_front();
  record.oldestOpenRequest = oldestOpen_;
  record.item = std::move(message);
  ready_.push_back(std::move(record));
  return true;
}

void RecordConnection::add(StreamItem item, Direction direction, CapturePlace place,
                           std::uint64_t offset, std::uint64_t length) {
  const Damage* damage = std::get_if<Damage>(&item);
  const bool mayHide =
      damage != nullptr ? damage->mayHideMessages : std::get<Gap>(item).mayHideMessages;
  if (mayHide) {
    lose(direction, offset, length, damage != nullptr ? damage->kind : DamageKind::behindGap);
  }
  ExchangeRecord record;
  record.connection = number_;
  record.place = place;
  record.direction = direction;
  record.item = std::move(item);
  record.oldestOpenRequest = oldestOpen_;
  ready_.push_back(std::move(record));
}

void RecordConnection::lose(Direction direction, std::uint64_t offset, std::uint64_t length,
                            DamageKind kind) {
  if (paired_) return;
  // Without a place, which is how `drain` knows it.
  pairing_.add(direction, Damage{kind, "", offset, length, true});
  end(direction) = offset + length;
  drain();
}

void RecordConnection::loseOnce(std::uint64_t offset, std::uint64_t length) {
  if (offset + length <= lostEnd_) return;
  lostEnd_ = offset + length;
  lose(Direction::toAccessory, offset, length);
  lose(Direction::toController, offset, length);
}

void RecordConnection::finish() {
  pairing_.finish(Direction::toAccessory);
  pairing_.finish(Direction::toController);
  drain();
}

std::optional<ExchangeRecord> RecordConnection::next() {
  if (ready_.empty()) return std::nullopt;
  ExchangeRecord record = std::move(ready_.front());
  ready_.pop_front();
  return record;
}

void RecordConnection::drain() {
  while (std::optional<ExchangeRecord> record = pairing_.next()) {
    if (record->place.number == 0) continue;
    oldestOpen_ = record->oldestOpenRequest;
    ready_.push_back(std::move(*record));
  }
}

}  // namespace qv::capture
