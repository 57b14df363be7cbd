#include "qvparsersupport/ipmessages/ip_message.h"

#include <fmt/format.h>

#include <algorithm>

#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/ipmessages/message_class.h"
#include "qvparsersupport/ipmessages/message_rules.h"
#include "qvparsersupport/json/ip_json_object.h"
#include "qvparsersupport/json/tree_walk.h"

namespace qv {

const std::int64_t VELIPStatusErrorCodeInvalidParameter = -70410;
const std::int64_t VELIPStatusErrorCodeInsufficientPrivileges = -70401;

namespace {

constexpr const char* kContentType = "Content-Type";
constexpr std::string_view kHostRule = "message.host";

// Sets what was found, and where, for a message that has no field of exactly that name: the first
// field that differs in letter case only, which a reader would easily take for it.
void describeMissingContentType(const QVHTTPMessage& message, QVMessageFault& fault) {
  fault.actual = fmt::format("no {}", kContentType);
  const auto& fields = message.headerFields();
  const std::string wanted = lowercased(kContentType);
  for (std::size_t i = 0; fields && i < fields->size(); ++i) {
    const std::string_view name = (*fields)[i].name;
    if (name.size() != wanted.size() || lowercased(name) != wanted) continue;
    fault.actual = fmt::format("no {} but {}; the letter case counts", kContentType, name);
    fault.range = fields->rangeOf(i);
    return;
  }
}

bool sameFault(const QVMessageFault& left, const QVMessageFault& right) {
  return left.rule == right.rule && left.text == right.text && left.range == right.range &&
         left.actual == right.actual && left.jsonPointer == right.jsonPointer &&
         left.key == right.key;
}

// Which row is found first decides nothing, so the one that names the request's class comes first:
// it spares the others their look at the request.
const QVIPMessageClass* responseClass(const QVIPMessage* request, const QVHTTPMessage& message) {
  const auto rows = QVIPMessage::_messageClasses();
  const auto matches = [&](const QVIPMessageClass& row) {
    return row.messageMatchesRequest(request, message);
  };
  const auto likely = request == nullptr ? rows.end()
                                         : std::ranges::find(rows, request->className(),
                                                             &QVIPMessageClass::answers);
  if (likely != rows.end() && matches(*likely)) return &*likely;
  const auto found = std::ranges::find_if(rows, matches);
  return found == rows.end() ? nullptr : &*found;
}

}  // namespace

std::shared_ptr<QVIPMessage> QVIPMessage::requestMessageForHeader(ByteView header,
                                                                  std::optional<ByteView> payload,
                                                                  const JSONLimits& limits) {
  auto httpMessage = QVHTTPMessage::initWithHeader(header, payload);
  for (const QVIPMessageClass& messageClass : _messageClasses()) {
    if (!messageClass.messageMatchesHTTPMessage(*httpMessage)) continue;
    auto message = messageClass.make();
    message->limits_ = limits;
    message->isBeingBuilt_ = true;
    message->initWithHTTPMessage(std::move(httpMessage));
    message->finish();
    return message;
  }
  return nullptr;
}

std::shared_ptr<QVIPMessage> QVIPMessage::responseMessageForRequest(
    std::shared_ptr<QVIPMessage> request, ByteView header, std::optional<ByteView> payload,
    const JSONLimits& limits) {
  auto httpMessage = QVHTTPMessage::initWithHeader(header, payload);
  const QVIPMessageClass* messageClass = responseClass(request.get(), *httpMessage);
  if (messageClass == nullptr) return nullptr;
  auto message = messageClass->make();
  message->limits_ = limits;
  message->isBeingBuilt_ = true;
  message->initWithRequest(std::move(request), std::move(httpMessage));
  message->finish();
  return message;
}

// A host can make a chain of requests of any length; it is taken apart without recursion.
QVIPMessage::~QVIPMessage() {
  std::shared_ptr<QVIPMessage> next = std::move(request_);
  while (next != nullptr && next.use_count() == 1) {
    std::shared_ptr<QVIPMessage> after = std::move(next->request_);
    next = std::move(after);
  }
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

void QVIPMessage::setHttpMessage(std::shared_ptr<QVHTTPMessage> message) {
  httpMessage_ = std::move(message);
  parsedBody_.reset();
}

const JSONParseResult& QVIPMessage::parsedBody() {
  // A host may give another body to a message at any time.
  if (!isBeingBuilt_) parsedBody_.reset();
  if (!parsedBody_) {
    const auto& body = httpMessageOrEmpty().body();
    parsedBody_ = body ? parseJSON(*body, limits_) : JSONParseResult();
    hasRepeatedKeys_ = parsedBody_->hasRepeatedKeys;
  }
  return *parsedBody_;
}

void QVIPMessage::finish() {
  std::vector<std::string> pointers;
  std::vector<QVMessageFault*> waiting;
  for (QVMessageFault& fault : faults_) {
    if (!fault.jsonPointer || fault.range) continue;
    pointers.push_back(*fault.jsonPointer);
    waiting.push_back(&fault);
  }
  if (!waiting.empty() && httpMessageOrEmpty().body()) {
    const auto ranges = rangesOfJSONPointers(*httpMessageOrEmpty().body(), pointers);
    for (std::size_t i = 0; i < waiting.size(); ++i) waiting[i]->range = ranges[i];
  }
  parsedBody_.reset();
  isBeingBuilt_ = false;
}

std::optional<ByteRange> QVIPMessage::bodyRangeOfJSONPointer(std::string_view pointer) const {
  const auto& body = httpMessageOrEmpty().body();
  return body ? rangeOfJSONPointer(*body, pointer) : std::nullopt;
}

std::vector<JSONKeyPlace> QVIPMessage::repeatedJSONKeys() const {
  const auto& body = httpMessageOrEmpty().body();
  if (!hasRepeatedKeys_ || !body) return {};
  return qv::repeatedJSONKeys(*body, kMaximumFaults);
}

void QVIPMessage::checkObjectForError(const QVIPJSONObject* object) {
  const bool faulty =
      object == nullptr || object->errorDescription() || object->childObjectHasError();
  if (!faulty) return;
  if (!errorDescription_) {
    setFault({.rule = "json.payload",
              .text = "Payload contains an error.",
              .part = QVMessagePart::body});
  }
  if (object == nullptr) return;
  const std::optional<Value> payload = payloadValue();
  for (QVIPJSONFault& fault : faultsOfTree(*object, payload, kMaximumFaults)) {
    const QVRule* rule = ruleForText(fault.text);
    // An object that was built from nothing says nothing about the bytes of the body.
    std::optional<std::string> pointer;
    if (payload) pointer = std::move(fault.pointer);
    keepFault({.rule = rule == nullptr ? kHostRule : rule->id,
               .text = std::move(fault.text),
               .part = QVMessagePart::body,
               .expected = std::move(fault.expected),
               .actual = std::move(fault.actual),
               .jsonPointer = std::move(pointer),
               .key = std::move(fault.key),
               .definition = std::move(fault.definition)});
  }
}

// Deliberate: compared exactly, so another letter case or a parameter is a fault (RFC 9110, section
// 8.3.1, would take both).
bool QVIPMessage::checkContentType(std::string_view expected) {
  const auto actual = httpMessageOrEmpty().headerValueViewForKey(kContentType);
  if (actual == expected) return true;
  QVMessageFault fault{.rule = "http.content-type",
                       .text = fmt::format("Invalid HTTP content type. Expected \"{}\".", expected),
                       .part = QVMessagePart::header,
                       .range = httpMessageOrEmpty().valueRangeForKey(kContentType),
                       .expected = std::string(expected)};
  if (actual) {
    fault.actual = std::string(*actual);
  } else {
    describeMissingContentType(httpMessageOrEmpty(), fault);
  }
  setFault(std::move(fault));
  return false;
}

const QVHTTPMessage& QVIPMessage::httpMessageOrEmpty() const {
  static const QVHTTPMessage& empty = *new QVHTTPMessage;
  return httpMessage_ != nullptr ? *httpMessage_ : empty;
}

void QVIPMessage::setErrorDescription(std::optional<std::string> text) {
  if (text) {
    setFault({.rule = kHostRule, .text = std::move(*text)});
  } else {
    errorDescription_.reset();
  }
}

void QVIPMessage::setFault(QVMessageFault fault) {
  errorDescription_ = fault.text;
  // The text that decides is always among the faults.
  if (faults_.size() == kMaximumFaults) faults_.pop_back();
  keepFault(std::move(fault));
}

void QVIPMessage::keepFault(QVMessageFault fault) {
  if (faults_.size() == kMaximumFaults) return;
  if (!faults_.empty() && sameFault(faults_.back(), fault)) return;
  faults_.push_back(std::move(fault));
}

}  // namespace qv
