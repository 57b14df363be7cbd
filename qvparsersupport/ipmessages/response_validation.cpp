#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "qvparsersupport/common/dictionary_lookup.h"
#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/ipmessages/body_texts.h"
#include "qvparsersupport/ipmessages/ip_message.h"

namespace qv {

namespace {

// What is under "status" is no number, or there is nothing.
constexpr std::string_view kStatusRule = "json.status";

const char* typeName(const Value& value) {
  switch (value.type()) {
    case Value::Type::null:
      return "null";
    case Value::Type::number:
      return "a number";
    case Value::Type::string:
      return "a string";
    case Value::Type::array:
      return "an array";
    case Value::Type::dictionary:
      return "an object";
    case Value::Type::bytes:
    case Value::Type::object:
      break;
  }
  return "no JSON value";
}

bool saysJSON(std::string_view contentType) {
  if (contentType.find("json") != std::string_view::npos) return true;
  return !isPlainLowercase(contentType) &&
         lowercased(contentType).find("json") != std::string::npos;
}

// What stands under a key of the dictionary.
std::string found(const std::optional<Value>& dictionary, std::string_view key) {
  const auto value = dictionary ? dictionary->find(key) : std::nullopt;
  return value ? typeName(*value) : fmt::format("no {}", key);
}

}  // namespace

std::span<const char* const> QVIPMessage::allowedHTTPResponseCodes() const {
  static constexpr const char* kCodes[] = {"200", "204", "207", "400", "500"};
  return kCodes;
}

// A fault that a later step finds replaces the text of an earlier one.
void QVIPMessage::performValidation() {
  checkStatusCode();
  checkNoContent();
  std::optional<Value> dictionary;
  if (!readJSONBody(dictionary)) return;
  if (!checkMultiStatus(dictionary)) return;
  checkInternalServerError(dictionary);
}

void QVIPMessage::checkStatusCode() {
  const auto& code = httpMessageOrEmpty().responseCode();
  const auto allowed = allowedHTTPResponseCodes();
  if (code && std::ranges::find(allowed, std::string_view(*code)) != allowed.end()) return;
  setFault({.rule = "http.status-code",
            .text = fmt::format("HTTP code {}", textOrNull(code)),
            .part = QVMessagePart::startLine,
            .range = httpMessageOrEmpty().headerLineItem1Range(),
            .expected = fmt::format("one of {}", fmt::join(allowed, ", ")),
            .actual = code.value_or("no status code")});
}

void QVIPMessage::checkNoContent() {
  const auto& body = httpMessageOrEmpty().body();
  if (httpMessageOrEmpty().responseCode() != "204" || !body || body->empty()) return;
  setFault({.rule = "http.204-body",
            .text = "HTTP code 204 indicates no content, but this message has content.",
            .part = QVMessagePart::body,
            .range = wholeOf(*body),
            .expected = "no body",
            .actual = bodySizeText(*body)});
}

// Deliberate: leaves no dictionary, and finds no fault, when there is no body or it is not said to
// be JSON; a 207 then passes and a 500 does not.
bool QVIPMessage::readJSONBody(std::optional<Value>& dictionary) {
  const auto& body = httpMessageOrEmpty().body();
  const auto contentType = httpMessageOrEmpty().headerValueViewForKey("Content-Type");
  if (!body || !contentType || !saysJSON(*contentType)) return true;
  const JSONParseResult& parsed = parsedBody();
  if (!parsed.value) {
    setFault({.rule = "json.syntax",
              .text = fmt::format("Unable to parse HTTP body as JSON: {}", parsed.error),
              .part = QVMessagePart::body,
              .range = syntaxErrorRange(parsed, *body)});
    return false;
  }
  if (!parsed.value->isDictionary()) {
    setFault({.rule = "json.top-level",
              .text = "Top-level JSON entity is not an object",
              .part = QVMessagePart::body,
              .range = wholeOf(*body),
              .expected = "an object",
              .actual = typeName(*parsed.value)});
    return false;
  }
  dictionary = parsed.value;
  return true;
}

bool QVIPMessage::checkMultiStatus(const std::optional<Value>& dictionary) {
  if (httpMessageOrEmpty().responseCode() != "207") return true;
  std::optional<LookupError> error;
  const auto characteristics = arrayForKey(dictionary, "characteristics", error);
  if (error) {
    setFault({.rule = "json.207-characteristics",
              .text = std::move(error->description),
              .part = QVMessagePart::body,
              .expected = "an array under \"characteristics\"",
              .actual = found(dictionary, "characteristics"),
              .jsonPointer = dictionary->find("characteristics") ? "/characteristics" : "",
              .key = "characteristics"});
    return false;
  }
  const std::size_t count = characteristics ? characteristics->count() : 0;
  for (std::size_t index = 0; index < count; ++index) {
    const Value entry = characteristics->at(index);
    if (!entry.isDictionary()) {
      setFault({.rule = "json.207-entry",
                .text = "JSON entity for key 'characteristic' is expected to be of type dictionary",
                .part = QVMessagePart::body,
                .expected = "an object",
                .actual = fmt::format("entry {} is {}", index + 1, typeName(entry)),
                .jsonPointer = fmt::format("/characteristics/{}", index)});
      continue;
    }
    if (numberForKey(entry, "status", error)) continue;
    const bool absent = error->code == LookupError::kKeyAbsent;
    setFault({.rule = absent ? "json.207-status" : kStatusRule,
              .text = absent ? "HTTP code 207 indicates each characteristic in the response body "
                               "must include a status"
                             : std::move(error->description),
              .part = QVMessagePart::body,
              .expected = "a number under \"status\" in each entry",
              .actual = fmt::format("entry {} has {}", index + 1,
                                    absent ? "none" : typeName(*entry.find("status"))),
              .jsonPointer = fmt::format("/characteristics/{}{}", index, absent ? "" : "/status"),
              .key = "status"});
    return false;
  }
  return true;
}

// Deliberate: a 500 that says -70401 (insufficient privileges) is no fault.
void QVIPMessage::checkInternalServerError(const std::optional<Value>& dictionary) {
  if (httpMessageOrEmpty().responseCode() != "500") return;
  std::optional<LookupError> error;
  const auto status = numberForKey(dictionary, "status", error);
  if (status && status->int64Value() == VELIPStatusErrorCodeInsufficientPrivileges) return;
  std::optional<std::string> pointer;
  if (dictionary) pointer = dictionary->find("status") ? "/status" : "";
  setFault({.rule = error ? kStatusRule : "http.500",
            .text = error ? std::move(error->description)
                          : "HTTP code 500 indicates Internal Server Error",
            .part = QVMessagePart::body,
            .expected = "no code 500, or -70401 under \"status\"",
            .actual = status ? status->text() : found(dictionary, "status"),
            .jsonPointer = pointer,
            .key = "status"});
}

}  // namespace qv
