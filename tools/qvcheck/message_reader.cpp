#include "tools/qvcheck/message_reader.h"

#include <optional>

#include "qvparsersupport/ipmessages/tlv8_message.h"

namespace qv::check {

namespace {

using capture::Completeness;
using capture::Direction;
using capture::FramedMessage;
using capture::MessageKind;

std::string_view kindName(MessageKind kind) {
  switch (kind) {
    case MessageKind::request:
      return "request";
    case MessageKind::response:
    case MessageKind::informational:
      return "response";
    case MessageKind::event:
      return "event";
    case MessageKind::unknown:
      break;
  }
  return "unknown";
}

std::string_view directionName(Direction direction) {
  return direction == Direction::toAccessory ? "to_accessory" : "to_controller";
}

std::optional<ByteView> bodyOf(const FramedMessage& message) {
  if (!message.body) return std::nullopt;
  return ByteView(*message.body);
}

// The record as far as the bytes alone tell it.
MessageRecord recordOf(const FramedMessage& message, const QVHTTPMessage& http) {
  MessageRecord record;
  record.direction = directionName(message.direction);
  record.kind = kindName(message.kind);
  record.offset = message.headerOffset;
  record.headerLength = message.header.size();
  record.bodyLength = message.body ? message.body->size() : 0;
  record.contentType = http.contentType();
  if (message.direction == Direction::toAccessory) {
    record.method = http.requestMethod().value_or("");
    record.url = http.requestURL().value_or("");
  } else {
    record.code = http.responseCode();
  }
  return record;
}

void leaveUnjudged(MessageRecord& record, std::string reason) {
  record.verdict = Verdict::notJudged;
  record.reason = std::move(reason);
}

}  // namespace

ReadMessage MessageReader::read(const capture::ExchangeRecord& record, const FramedMessage& message,
                                std::size_t number, const std::string& inputName) {
  ReadMessage read;
  read.http = QVHTTPMessage::initWithHeader(message.header, std::nullopt);
  MessageRecord& out = read.record;
  out = recordOf(message, *read.http);
  out.message = number;
  out.connection = connection_;
  out.inputName = inputName;
  if (record.answers && open_ && open_->index == *record.answers) {
    out.answers = open_->message;
    out.method = open_->method;
    out.url = open_->url;
  }
  read.typed = classify(record, message, out);
  if (const auto& typed = read.typed) {
    if (auto* pairing = dynamic_cast<QVIPTLV8PayloadMessage*>(typed.get())) pairing->tlv8Payload();
    out.className = typed->className();
    out.errorDescription = typed->errorDescription();
    out.verdict = typed->faults().empty() ? Verdict::ok : Verdict::faulty;
  }
  if (record.direction == Direction::toAccessory) {
    open_ = OpenRequest{record.requestIndex.value_or(0),
                        out.message,
                        out.method,
                        out.url,
                        message.complete(),
                        read.typed};
  }
  return read;
}

std::shared_ptr<QVIPMessage> MessageReader::classify(const capture::ExchangeRecord& record,
                                                     const FramedMessage& message,
                                                     MessageRecord& out) {
  if (!message.complete()) {
    leaveUnjudged(out, message.completeness == Completeness::tooLarge ? "too large" : "incomplete");
    return nullptr;
  }
  if (message.kind == MessageKind::informational) {
    leaveUnjudged(out, "informational");
    return nullptr;
  }
  std::shared_ptr<QVIPMessage> typed;
  if (record.direction == Direction::toAccessory) {
    typed = QVIPMessage::requestMessageForHeader(message.header, bodyOf(message));
  } else if (message.kind == MessageKind::event) {
    typed = QVIPMessage::responseMessageForRequest(nullptr, message.header, bodyOf(message));
  } else if (!record.answers || !open_ || open_->index != *record.answers) {
    leaveUnjudged(out, record.pairingUncertain ? "pairing uncertain" : "no request");
    return nullptr;
  } else if (!open_->judged) {
    leaveUnjudged(out, "request incomplete");
    return nullptr;
  } else if (open_->typed != nullptr) {
    typed = QVIPMessage::responseMessageForRequest(open_->typed, message.header, bodyOf(message));
  }
  if (typed == nullptr) out.verdict = Verdict::unrecognised;
  return typed;
}

}  // namespace qv::check
