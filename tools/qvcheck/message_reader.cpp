#include "tools/qvcheck/message_reader.h"

#include <optional>

#include "capture/records/capture_words.h"
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

std::optional<ByteView> bodyOf(const FramedMessage& message) {
  if (!message.body) return std::nullopt;
  return ByteView(*message.body);
}

// Fills in what the bytes alone tell.
void describe(const FramedMessage& message, const QVHTTPMessage& http, MessageRecord& record) {
  record.direction = nameOf(message.direction);
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
}

const char* reasonFor(Completeness completeness) {
  switch (capture::cutKindOf(completeness)) {
    case capture::CutKind::byClose:
      return "closed early";
    case capture::CutKind::byReset:
      return "connection reset";
    case capture::CutKind::abandoned:
      return "answered early";
    default:
      break;
  }
  switch (completeness) {
    case Completeness::tooLarge:
      return "too large";
    case Completeness::bytesMissing:
      return "gap";
    case Completeness::bodyDamaged:
      return "body damaged";
    case Completeness::givenUp:
      return "given up";
    default:
      return "incomplete";
  }
}

void leaveUnjudged(MessageRecord& record, std::string reason) {
  record.verdict = Verdict::notJudged;
  record.reason = std::move(reason);
}

}  // namespace

std::string_view nameOf(Direction direction) {
  return capture::wordFor(capture::kDirectionWords, direction);
}

ReadMessage MessageReader::read(const capture::ExchangeRecord& record, const FramedMessage& message,
                                std::size_t number, const std::string& inputName) {
  ReadMessage read;
  MessageRecord& out = read.record;
  const auto open = record.answers ? open_.find(*record.answers) : open_.end();
  const OpenRequest* request = open == open_.end() ? nullptr : &open->second;
  read.typed = classify(record, message, request, out);
  read.http = read.typed != nullptr ? read.typed->httpMessage()
                                    : QVHTTPMessage::initWithHeader(message.header, std::nullopt);
  describe(message, *read.http, out);
  out.message = number;
  out.connection = connection_;
  out.inputName = inputName;
  out.timeNs = record.place.timeNs;
  if (request != nullptr) {
    out.answers = request->message;
    out.method = request->method;
    out.url = request->url;
  }
  if (const auto& typed = read.typed) {
    if (auto* pairing = dynamic_cast<QVIPTLV8PayloadMessage*>(typed.get())) pairing->tlv8Payload();
    out.className = typed->className();
    out.errorDescription = typed->errorDescription();
    out.verdict = typed->faults().empty() ? Verdict::ok : Verdict::faulty;
  }
  if (record.direction == Direction::toAccessory) {
    open_[record.requestIndex.value_or(0)] =
        OpenRequest{out.message, out.method, out.url, message.complete(), read.typed};
  }
  open_.erase(open_.begin(), open_.lower_bound(record.oldestOpenRequest));
  return read;
}

std::shared_ptr<QVIPMessage> MessageReader::classify(const capture::ExchangeRecord& record,
                                                     const FramedMessage& message,
                                                     const OpenRequest* request,
                                                     MessageRecord& out) {
  if (!message.complete()) {
    leaveUnjudged(out, reasonFor(message.completeness));
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
  } else if (request == nullptr) {
    leaveUnjudged(out, record.pairingUncertain ? "pairing uncertain" : "no request");
    return nullptr;
  } else if (!request->judged) {
    leaveUnjudged(out, "request incomplete");
    return nullptr;
  } else if (request->typed != nullptr) {
    typed = QVIPMessage::responseMessageForRequest(request->typed, message.header, bodyOf(message));
  }
  if (typed == nullptr) out.verdict = Verdict::unrecognised;
  return typed;
}

}  // namespace qv::check
