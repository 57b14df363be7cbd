#include "qvparsersupport/ipmessages/json_message.h"

#include <algorithm>
#include <utility>

#include "qvparsersupport/common/dictionary_lookup.h"
#include "qvparsersupport/ipmessages/body_texts.h"
#include "qvparsersupport/json/tree_walk.h"

namespace qv {

namespace {

constexpr const char* kJSONContentType = "application/vel+json";

// Made, told the status code, and only then initialised, because the code decides what is read.
std::shared_ptr<QVIPMultipleCharacteristicReadObject> readContainer(
    std::optional<Value> payload, std::optional<std::string> code) {
  auto container = std::make_shared<QVIPMultipleCharacteristicReadObject>();
  container->setHTTPResponse(std::move(code));
  container->initWithJSONObject(std::move(payload), nullptr, QVIPJSONValueType::unspecified);
  return container;
}

}  // namespace

std::optional<Value> QVIPJSONPayloadMessage::jsonPayload() {
  if (cachedJSONPayload_) return cachedJSONPayload_;
  const auto& body = httpMessageOrEmpty().body();
  const bool isEmpty = !body || body->empty();
  if (isEmpty && !httpMessageOrEmpty().headerValueViewForKey("Content-Type")) return std::nullopt;
  if (!checkContentType(kJSONContentType)) return std::nullopt;
  if (isEmpty) {
    setFault({.rule = "json.empty-body",
              .text = "Invalid length for JSON formatted HTTP payload.",
              .part = QVMessagePart::body,
              .expected = "a JSON text",
              .actual = "no body"});
    return std::nullopt;
  }
  const JSONParseResult& parsed = parsedBody();
  if (!parsed.value) {
    setFault({.rule = "json.payload-syntax",
              .text = "HTTP payload is not a valid JSON object.",
              .part = QVMessagePart::body,
              .range = syntaxErrorRange(parsed, *body),
              .expected = "a JSON text",
              .actual = parsed.error});
    return std::nullopt;
  }
  cachedJSONPayload_ = parsed.value;
  return cachedJSONPayload_;
}

void QVIPJSONPayloadMessage::initWithHTTPMessage(std::shared_ptr<QVHTTPMessage> httpMessage) {
  QVIPMessage::initWithHTTPMessage(std::move(httpMessage));
  jsonPayload();
}

void QVIPJSONPayloadMessage::initWithRequest(std::shared_ptr<QVIPMessage> request,
                                             std::shared_ptr<QVHTTPMessage> httpMessage) {
  QVIPMessage::initWithRequest(std::move(request), std::move(httpMessage));
  jsonPayload();
}

std::vector<JSONKeyPlace> QVIPJSONPayloadMessage::unreadJSONKeys() const {
  const auto object = payloadObject();
  const auto& body = httpMessageOrEmpty().body();
  if (object == nullptr) return {};
  std::vector<JSONKeyPlace> places = unreadKeysOfTree(*object, kMaximumFaults);
  if (!places.empty() && body) locateJSONKeys(*body, places);
  return places;
}

void QVIPAccessoryAttributeDatabaseRequestMessage::initWithHTTPMessage(
    std::shared_ptr<QVHTTPMessage> httpMessage) {
  QVIPMessage::initWithHTTPMessage(std::move(httpMessage));
  const auto& body = httpMessageOrEmpty().body();
  if (!body || body->empty()) return;
  setFault({.rule = "http.database-request-body",
            .text = "Attribute database requests should not contain an HTTP body.",
            .part = QVMessagePart::body,
            .range = wholeOf(*body),
            .expected = "no body",
            .actual = bodySizeText(*body)});
}

void QVIPAccessoryAttributeDatabaseResponseMessage::initWithRequest(
    std::shared_ptr<QVIPMessage> request, std::shared_ptr<QVHTTPMessage> httpMessage) {
  QVIPJSONPayloadMessage::initWithRequest(std::move(request), std::move(httpMessage));
  attributeDatabaseObject_ =
      QVIPJSONObject::make<QVIPAttributeDatabaseObject>(jsonPayload(), nullptr);
  checkObjectForError(attributeDatabaseObject_.get());
}

bool QVIPMultipleCharacteristicReadRequestMessage::messageMatchesHTTPMessage(
    const QVHTTPMessage& httpMessage) {
  return httpMessage.requestMethod() == kMethod && httpMessage.requestURL() &&
         httpMessage.requestURL()->starts_with(kURL);
}

std::optional<std::vector<QVIPCharacteristicID>>
QVIPMultipleCharacteristicReadRequestMessage::idStringsFromCharacteristicsURLString(
    std::string_view url, ErrorSlot errorDescription) {
  return characteristicIDsOfURL(url, errorDescription);
}

void QVIPMultipleCharacteristicReadRequestMessage::initWithHTTPMessage(
    std::shared_ptr<QVHTTPMessage> httpMessage) {
  QVIPJSONPayloadMessage::initWithHTTPMessage(std::move(httpMessage));
  const auto& url = httpMessageOrEmpty().requestURL();
  std::optional<std::string> error;
  characteristicReadURLComponents_ = characteristicIDsOfURL(url.value_or(""), &error);
  if (!error) return;
  QVMessageFault fault{.rule = "http.characteristics-url",
                       .text = std::move(*error),
                       .part = QVMessagePart::startLine,
                       .range = httpMessageOrEmpty().headerLineItem1Range(),
                       .expected = "/characteristics?id=1.2 or, for several, ?id=1.2,1.3",
                       .actual = url.value_or("")};
  if (errorDescription()) {
    keepFault(std::move(fault));
  } else {
    setFault(std::move(fault));
  }
}

void QVIPMultipleCharacteristicReadResponseMessage::initWithRequest(
    std::shared_ptr<QVIPMessage> request, std::shared_ptr<QVHTTPMessage> httpMessage) {
  QVIPJSONPayloadMessage::initWithRequest(std::move(request), std::move(httpMessage));
  multipleReadObject_ = readContainer(jsonPayload(), httpMessageOrEmpty().responseCode());
  checkObjectForError(multipleReadObject_.get());
}

void QVIPMultipleCharacteristicWriteRequestMessage::initWithHTTPMessage(
    std::shared_ptr<QVHTTPMessage> httpMessage) {
  QVIPJSONPayloadMessage::initWithHTTPMessage(std::move(httpMessage));
  multipleWriteObject_ =
      QVIPJSONObject::make<QVIPMultipleCharacteristicWriteObject>(jsonPayload(), nullptr);
  checkObjectForError(multipleWriteObject_.get());
}

// A multi-status answer to a write makes sense only when at least one characteristic has a status.
// Deliberate: of any value, and whatever the content type.
void QVIPMultipleCharacteristicWriteResponseMessage::initWithRequest(
    std::shared_ptr<QVIPMessage> request, std::shared_ptr<QVHTTPMessage> httpMessage) {
  QVIPJSONPayloadMessage::initWithRequest(std::move(request), std::move(httpMessage));
  if (httpMessageOrEmpty().responseCode() != "207") return;
  const std::optional<Value> body = parsedBody().value;
  if (!body || !body->isDictionary()) return;
  std::optional<LookupError> error;
  const auto entries = arrayForKey(body, "characteristics", error);
  for (std::size_t i = 0; entries && i < entries->count(); ++i) {
    if (numberForKey(entries->at(i), "status", error)) return;
  }
  setFault({.rule = "http.write-207",
            .text = "Response code to write must be 204.",
            .part = QVMessagePart::startLine,
            .range = httpMessageOrEmpty().headerLineItem1Range(),
            .expected = "204, or 207 with a number under \"status\" in an entry",
            .actual = "207 without such a status"});
}

std::span<const char* const> QVIPIdentifyResponseMessage::allowedHTTPResponseCodes() const {
  static constexpr const char* kCodes[] = {"204", "400"};
  return kCodes;
}

bool QVIPEventNotificationMessage::messageMatchesRequest(const QVIPMessage* request,
                                                         const QVHTTPMessage& httpMessage) {
  return request == nullptr && httpMessage.responseHTTPVersion() == kEventVersion;
}

// Deliberate: the container is not told the status code, so entries of an event are read without
// status, whatever its code.
void QVIPEventNotificationMessage::initWithRequest(std::shared_ptr<QVIPMessage> request,
                                                   std::shared_ptr<QVHTTPMessage> httpMessage) {
  QVIPJSONPayloadMessage::initWithRequest(std::move(request), std::move(httpMessage));
  multipleReadObject_ = readContainer(jsonPayload(), std::nullopt);
  checkObjectForError(multipleReadObject_.get());
}

}  // namespace qv
