#include "qvparsersupport/ipmessages/ip_message.h"

#include "qvparsersupport/ipmessages/message_class.h"
#include "qvparsersupport/json/ip_json_object.h"

namespace qv {

const std::int64_t VELIPStatusErrorCodeInvalidParameter = -70410;
const std::int64_t VELIPStatusErrorCodeInsufficientPrivileges = -70401;

namespace {

bool sameFault(const QVMessageFault& left, const QVMessageFault& right) {
  return left.rule == right.rule && left.text == right.text && left.range == right.range &&
         left.actual == right.actual;
}

}  // namespace

std::shared_ptr<QVIPMessage> QVIPMessage::requestMessageForHeader(ByteView header,
                                                                  std::optional<ByteView> payload) {
  auto httpMessage = QVHTTPMessage::initWithHeader(header, payload);
  for (const QVIPMessageClass& messageClass : _messageClasses()) {
    if (!messageClass.messageMatchesHTTPMessage(*httpMessage)) continue;
    auto message = messageClass.make();
    message->initWithHTTPMessage(std::move(httpMessage));
    return message;
  }
  return nullptr;
}

std::shared_ptr<QVIPMessage> QVIPMessage::responseMessageForRequest(
    std::shared_ptr<QVIPMessage> request, ByteView header, std::optional<ByteView> payload) {
  auto httpMessage = QVHTTPMessage::initWithHeader(header, payload);
  for (const QVIPMessageClass& messageClass : _messageClasses()) {
    if (!messageClass.messageMatchesRequest(request.get(), *httpMessage)) continue;
    auto message = messageClass.make();
    message->initWithRequest(std::move(request), std::move(httpMessage));
    return message;
  }
  return nullptr;
}

void QVIPMessage::initWithHTTPMessage(std::shared_ptr<QVHTTPMessage> httpMessage) {
  httpMessage_ = std::move(httpMessage);
}

void QVIPMessage::initWithRequest(std::shared_ptr<QVIPMessage> request,
                                  std::shared_ptr<QVHTTPMessage> httpMessage) {
  request_ = std::move(request);
  httpMessage_ = std::move(httpMessage);
  performValidation();
}

void QVIPMessage::checkObjectForError(const QVIPJSONObject* object) {
  const bool faulty =
      object == nullptr || object->errorDescription() || object->childObjectHasError();
  if (!faulty || errorDescription_) return;
  setFault(
      {.rule = "json.payload", .text = "Payload contains an error.", .part = QVMessagePart::body});
}

const QVHTTPMessage& QVIPMessage::httpMessageOrEmpty() const {
  static const QVHTTPMessage& empty = *new QVHTTPMessage;
  return httpMessage_ != nullptr ? *httpMessage_ : empty;
}

void QVIPMessage::setErrorDescription(std::optional<std::string> text) {
  if (text) {
    setFault({.rule = "message.host", .text = std::move(*text)});
  } else {
    errorDescription_.reset();
  }
}

void QVIPMessage::setFault(QVMessageFault fault) {
  errorDescription_ = fault.text;
  keepFault(std::move(fault));
}

void QVIPMessage::keepFault(QVMessageFault fault) {
  if (faults_.size() == kMaximumFaults) return;
  if (!faults_.empty() && sameFault(faults_.back(), fault)) return;
  faults_.push_back(std::move(fault));
}

}  // namespace qv
