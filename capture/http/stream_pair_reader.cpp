#include "capture/http/stream_pair_reader.h"

#include <utility>

namespace qv::capture {

StreamPairReader::StreamPairReader(std::shared_ptr<ByteStreamItems> requests,
                                   std::shared_ptr<ByteStreamItems> responses)
    : requests_(std::move(requests)), responses_(std::move(responses)) {
  if (requests_ == nullptr) {
    requestsEnded_ = true;
    pairing_.finish(Direction::toAccessory);
  }
  if (responses_ == nullptr) return;
  responses_->askForHead(
      [this](std::uint64_t offset) { return pairing_.answersHead(offset, std::nullopt); });
}

StreamPairReader::~StreamPairReader() {
  if (responses_ != nullptr) responses_->askForHead(nullptr);
}

std::optional<ExchangeRecord> StreamPairReader::nextRecord() {
  do {
    if (auto record = pairing_.next()) return record;
  } while (advance());
  return std::nullopt;
}

std::optional<CaptureEvent> StreamPairReader::next() {
  if (!std::exchange(opened_, true)) return ConnectionOpened{1, {}, {}, false};
  if (auto record = nextRecord()) return CaptureEvent(*std::move(record));
  if (std::exchange(closed_, true)) return std::nullopt;
  return ConnectionClosed{1};
}

std::optional<std::string> StreamPairReader::error() const {
  if (requests_ != nullptr && requests_->source().error()) return requests_->source().error();
  return responses_ != nullptr ? responses_->source().error() : std::nullopt;
}

// False when both streams are at their end.
bool StreamPairReader::advance() {
  if (!responseIsDue_ && readRequest()) return true;
  if (readResponse()) return true;
  if (requestsEnded_) return false;
  responseIsDue_ = false;
  return true;
}

bool StreamPairReader::readRequest() {
  if (requestsEnded_) return false;
  std::optional<StreamItem> item = requests_->next();
  if (!item) {
    requestsEnded_ = true;
    pairing_.finish(Direction::toAccessory);
    return false;
  }
  responseIsDue_ = std::holds_alternative<FramedMessage>(*item);
  pairing_.add(Direction::toAccessory, *std::move(item));
  return true;
}

bool StreamPairReader::readResponse() {
  if (responsesEnded_) return false;
  std::optional<StreamItem> item;
  if (responses_ != nullptr) item = responses_->next();
  if (!item) {
    responsesEnded_ = true;
    pairing_.finish(Direction::toController);
    return false;
  }
  const auto* message = std::get_if<FramedMessage>(&*item);
  if (message != nullptr && message->kind == MessageKind::response) responseIsDue_ = false;
  pairing_.add(Direction::toController, *std::move(item));
  return true;
}

}  // namespace qv::capture
