#include "capture/har/har_entry.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

#include "capture/har/har_body.h"
#include "capture/har/har_url.h"
#include "capture/har/iso_time.h"
#include "capture/http/ascii_case.h"
#include "capture/http/recorded_message.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/number.h"
#include "qvparsersupport/common/value.h"

namespace qv::capture {

namespace {

// An entry has a few hundred values; one of many more only costs memory.
constexpr std::size_t kMaximumValues = 250'000;

std::optional<std::string_view> textUnder(const Value& object, std::string_view key) {
  const std::optional<Value> value = object.find(key);
  return value ? value->asString() : std::nullopt;
}

std::optional<double> numberUnder(const Value& object, std::string_view key) {
  const std::optional<Value> value = object.find(key);
  const std::optional<Number> number = value ? value->asNumber() : std::nullopt;
  return number ? std::optional(number->doubleValue()) : std::nullopt;
}

// Sizes that are not known are -1.
std::optional<std::uint64_t> sizeUnder(const Value& object, std::string_view key) {
  const std::optional<double> size = numberUnder(object, key);
  return size && *size >= 0 ? std::optional(saturatingUInt64(*size)) : std::nullopt;
}

// What stands in a line of a header would end it, or is cut off by whoever reads it as a C text.
bool canStandInLine(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

bool isOneWord(std::string_view text) {
  return !text.empty() && std::none_of(text.begin(), text.end(), [](char letter) {
    const auto byte = static_cast<std::uint8_t>(letter);
    return byte <= ' ' || byte == 0x7F;
  });
}

std::string version(const Value& object) {
  constexpr std::string_view kName = "HTTP/1.";
  const std::string_view given = textUnder(object, "httpVersion").value_or("");
  const bool isDigit = !given.empty() && given.back() >= '0' && given.back() <= '9';
  if (given.size() == kName.size() + 1 && isDigit &&
      equalsIgnoringCase(given.substr(0, kName.size()), kName)) {
    return fmt::format("{}{}", kName, given.back());
  }
  return "HTTP/1.1";
}

std::optional<std::uint64_t> lengthFrom(std::string_view value) {
  while (value.starts_with(' ')) value.remove_prefix(1);
  while (value.ends_with(' ')) value.remove_suffix(1);
  std::uint64_t length = 0;
  const char* end = value.data() + value.size();
  const auto [next, failure] = std::from_chars(value.data(), end, length);
  return failure == std::errc() && next == end ? std::optional(length) : std::nullopt;
}

// `request` or `response` of an entry on its way to a message.
class MessageBuilder {
 public:
  MessageBuilder(const Value& entry, const char* part, FramedMessage& message)
      : part_(part), object_(entry.find(part).value_or(Value())), message_(message) {}

  const Value& object() const { return object_; }
  const AnnouncedBody& announced() const { return announced_; }

  template <class... Arguments>
  void addLine(const Arguments&... parts) {
    const auto add = [&](std::string_view part) {
      message_.header.insert(message_.header.end(), part.begin(), part.end());
    };
    (add(parts), ...);
    add("\r\n");
  }

  // Whether the fields could be put together again; the start line comes before.
  bool addFields(ErrorSlot errorDescription) {
    const std::optional<Value> fields = object_.find("headers");
    if (!fields || !fields->isArray()) {
      return fail(errorDescription, fmt::format("{}.headers is no array", part_));
    }
    for (std::size_t i = 0; i < fields->count(); ++i) {
      const Value field = fields->at(i);
      const auto name = textUnder(field, "name");
      const auto value = textUnder(field, "value");
      if (name && name->starts_with(':')) continue;
      if (!name || !isOneWord(*name) || name->find(':') != std::string_view::npos) {
        return fail(errorDescription,
                    fmt::format("{}.headers[{}].name is no name of a field", part_, i));
      }
      if (!value || !canStandInLine(*value)) {
        return fail(errorDescription,
                    fmt::format("{}.headers[{}].value is no text of one line", part_, i));
      }
      addLine(*name, ": ", *value);
      note(*name, *value);
    }
    return true;
  }

 private:
  void note(std::string_view name, std::string_view value) {
    if (equalsIgnoringCase(name, "Transfer-Encoding")) announced_.hasTransferEncoding = true;
    if (equalsIgnoringCase(name, "Content-Length") && !announced_.length) {
      announced_.length = lengthFrom(value);
    }
    if (equalsIgnoringCase(name, "Content-Encoding") && !equalsIgnoringCase(value, "identity")) {
      announced_.hasContentEncoding = true;
    }
  }

  const char* part_;
  Value object_;
  FramedMessage& message_;
  AnnouncedBody announced_;
};

FramedMessage messageAt(std::uint64_t offset, std::uint64_t length, Direction direction) {
  FramedMessage message;
  message.direction = direction;
  message.isRecord = true;
  placeAt(message, offset, length);
  return message;
}

// `postData` or `content`; the entry may have none.
RecordedBody recordedUnder(const Value& object, std::string_view key, Value& holder) {
  holder = object.find(key).value_or(Value());
  RecordedBody recorded;
  recorded.text = textUnder(holder, "text");
  recorded.encoding = textUnder(holder, "encoding").value_or("");
  recorded.wasSent = !recorded.text && sizeUnder(object, "bodySize").value_or(0) > 0;
  return recorded;
}

// Methods whose requests are sent without one (RFC 9110, section 9.3).
bool mayHaveBody(std::string_view method) {
  constexpr std::string_view kWithout[] = {"GET", "HEAD", "DELETE", "CONNECT", "OPTIONS", "TRACE"};
  return std::ranges::find(kWithout, method) == std::end(kWithout);
}

bool readRequest(const Value& entry, HAREntry& result, ErrorSlot errorDescription) {
  FramedMessage& message = result.request;
  message.kind = MessageKind::request;
  MessageBuilder builder(entry, "request", message);
  const Value& request = builder.object();
  const std::optional<std::string_view> method = textUnder(request, "method");
  if (!method || !isOneWord(*method)) return fail(errorDescription, "request.method is no method");
  const std::optional<std::string_view> url = textUnder(request, "url");
  if (url && isOfOtherKind(*url)) {
    result.isHTTP = false;
    return true;
  }
  if (!url || !isOneWord(*url)) return fail(errorDescription, "request.url is no URL");
  const std::optional<HARURL> parts = readHARURL(*url);
  if (!parts) return fail(errorDescription, "request.url is no URL of HTTP");
  result.server = serverText(textUnder(entry, "serverIPAddress").value_or(""), *parts);
  builder.addLine(*method, " ", parts->target, " ", version(request));
  if (!builder.addFields(errorDescription)) return false;

  Value postData;
  RecordedBody recorded = recordedUnder(request, "postData", postData);
  const std::optional<Value> params = postData.find("params");
  // Parameters can be written in many ways.
  const bool isWithoutText = recorded.text.value_or("").empty();
  if (isWithoutText && params && params->count() > 0) {
    recorded.text.reset();
    recorded.wasSent = true;
  }
  recorded.size = sizeUnder(request, "bodySize");
  recorded.isUsual = mayHaveBody(*method);
  takeRecordedBody(recorded, builder.announced(), message);
  return true;
}

// Null when it is not the number of a response.
std::optional<int> statusOf(const Value& response, ErrorSlot errorDescription) {
  const std::optional<double> status = numberUnder(response, "status");
  if (!status) return fail(errorDescription, "response.status is no number");
  const int code = *status >= 0 && *status <= 999 ? static_cast<int>(*status) : -1;
  if (code != *status || (code != 0 && code < 100)) {
    return fail(errorDescription, "response.status is neither 0 nor a status code");
  }
  return code;
}

bool readResponse(const Value& entry, HAREntry& result, ErrorSlot errorDescription) {
  const FramedMessage& request = result.request;
  FramedMessage message = messageAt(request.beginOffset, request.endOffset - request.beginOffset,
                                    Direction::toController);
  MessageBuilder builder(entry, "response", message);
  const Value& response = builder.object();
  const std::optional<int> status = statusOf(response, errorDescription);
  if (!status) return false;
  if (*status == 0) return true;
  message.kind = *status < 200 ? MessageKind::informational : MessageKind::response;
  const std::string_view reason = textUnder(response, "statusText").value_or("");
  if (!canStandInLine(reason)) {
    return fail(errorDescription, "response.statusText is no text of one line");
  }
  builder.addLine(version(response), " ", fmt::format("{}", *status), " ", reason);
  if (!builder.addFields(errorDescription)) return false;

  const bool answersHead = textOf(request.header).starts_with("HEAD ");
  if (!answersHead && *status != 304) {
    Value content;
    RecordedBody recorded = recordedUnder(response, "content", content);
    recorded.size = sizeUnder(content, "size");
    AnnouncedBody announced = builder.announced();
    recorded.isUsual = *status >= 200 && *status != 204;
    // Whatever the others announce, nothing follows.
    if (!recorded.isUsual) announced = {};
    takeRecordedBody(recorded, announced, message);
  }
  result.response = std::move(message);
  return true;
}

void readTimes(const Value& entry, HAREntry& result) {
  constexpr double kLongest = 1e12;  // a generation, in milliseconds
  result.requestTimeNs = timeFromISO8601(textUnder(entry, "startedDateTime").value_or(""));
  const std::optional<double> milliseconds = numberUnder(entry, "time");
  if (!result.requestTimeNs || !milliseconds || !(*milliseconds >= 0)) return;
  if (*milliseconds > kLongest) return;
  const std::int64_t taken = saturatingInt64(*milliseconds * 1e6);
  if (*result.requestTimeNs <= INT64_MAX - taken) {
    result.responseTimeNs = *result.requestTimeNs + taken;
  }
}

}  // namespace

std::optional<HAREntry> readHAREntry(ByteView text, std::uint64_t offset,
                                     ErrorSlot errorDescription) {
  JSONLimits limits;
  limits.maximumValues = kMaximumValues;
  const JSONParseResult read = parseJSON(text, limits);
  if (!read.value) return fail(errorDescription, fmt::format("no JSON: {} of it", read.error));
  if (!read.value->isDictionary()) return fail(errorDescription, "it is no object");
  HAREntry result;
  result.connection = textUnder(*read.value, "connection").value_or("");
  result.request = messageAt(offset, text.size(), Direction::toAccessory);
  readTimes(*read.value, result);
  if (!readRequest(*read.value, result, errorDescription)) return std::nullopt;
  if (!result.isHTTP) return result;
  if (!readResponse(*read.value, result, errorDescription)) return std::nullopt;
  return result;
}

}  // namespace qv::capture
