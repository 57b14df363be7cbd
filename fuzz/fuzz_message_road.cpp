// Reads the input as an exchange: request header, request body, response header and response body,
// separated by the byte 0x1E; a part that is not there is null. Who recognises them is compared
// with a simple reading of method and URL, the error description with the faults, and the places of
// faults with the buffers.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "fuzz/fuzz.h"
#include "fuzz/profile.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/ipmessages/json_message.h"
#include "qvparsersupport/ipmessages/tlv8_message.h"
#include "qvparsersupport/json/tree_walk.h"

namespace {

using namespace qv;
using fuzz::expect;

using Parts = std::array<std::optional<ByteView>, 4>;

Parts partsOf(ByteView input) {
  Parts parts;
  for (auto& part : parts) {
    const auto end = std::find(input.begin(), input.end(), 0x1E);
    part = ByteView(input.begin(), end);
    if (end == input.end()) break;
    input = ByteView(end + 1, input.end());
  }
  return parts;
}

struct Row {
  std::string_view method;
  std::string_view url;
  std::string_view request;
};
constexpr Row kRows[] = {
    {"POST", "/pair-setup", "QVIPPairSetupRequestMessage"},
    {"POST", "/pair-verify", "QVIPPairVerifyRequestMessage"},
    {"POST", "/pairings", "QVIPPairingsRequestMessage"},
    {"GET", "/accessories", "QVIPAccessoryAttributeDatabaseRequestMessage"},
    {"GET", "/characteristics", "QVIPMultipleCharacteristicReadRequestMessage"},
    {"PUT", "/characteristics", "QVIPMultipleCharacteristicWriteRequestMessage"},
    {"PUT", "/prepare", "QVIPPrepareRequestMessage"},
    {"POST", "/identify", "QVIPIdentifyRequestMessage"},
    {"POST", "/resource", "QVHTTPSnapshotRequestMessage"},
};

// The first two items of the first line, where the header is ASCII.
std::string_view itemOf(ByteView header, std::size_t index) {
  std::string_view line = textOf(header);
  if (std::any_of(line.begin(), line.end(), [](char c) { return c < 0; })) return {};
  line = line.substr(0, line.find_first_of("\r\n"));
  for (; index > 0; --index) {
    const std::size_t blank = line.find_first_of(" \t");
    line = blank == std::string_view::npos ? "" : line.substr(blank + 1);
  }
  return line.substr(0, line.find_first_of(" \t"));
}

std::string_view requestClassOf(ByteView header) {
  const std::string_view url = itemOf(header, 1);
  for (const Row& row : kRows) {
    const bool begins = row.method == "GET" && row.url == "/characteristics";
    if (itemOf(header, 0) == row.method && (begins ? url.starts_with(row.url) : url == row.url)) {
      return row.request;
    }
  }
  return "null";
}

std::string responseClassOf(std::string_view request, ByteView header) {
  const bool isEvent = itemOf(header, 0) == "EVENT/1.0";
  if (request == "null") return isEvent ? "QVIPEventNotificationMessage" : "null";
  if (isEvent) return "null";
  const std::string_view end = "RequestMessage";
  return std::string(request.substr(0, request.size() - end.size())) + "ResponseMessage";
}

// The faults of the decoded payload stand last; of the others the last one is the description,
// except that the URL of a read yields to what was found before.
void checkDescription(const QVIPMessage& message) {
  const auto& faults = message.faults();
  std::size_t count = faults.size();
  if (const auto* json = dynamic_cast<const QVIPJSONPayloadMessage*>(&message)) {
    const auto object = json->payloadObject();
    if (object != nullptr) {
      const auto below = faultsOfTree(*object, json->cachedJSONPayload(), 100'000);
      expect(count >= below.size(), "every fault of the payload is kept");
      count -= below.size();
      for (std::size_t i = 0; i < below.size(); ++i) {
        expect(faults[count + i].text == below[i].text, "faults of the payload are kept in order");
        expect(faults[count + i].range.has_value() || !json->cachedJSONPayload(),
               "faults of the payload have their bytes");
      }
      expect(below.empty() || count > 0, "faults of the payload have a text above them");
    }
  }
  expect((count == 0) == !message.errorDescription(), "faults and a description, or neither");
  if (count == 0) return;
  if (count > 1 && faults[count - 1].rule == "http.characteristics-url") --count;
  std::string text = faults[count - 1].text;
  if (fuzz::planted(count == 3 && faults[0].part == QVMessagePart::startLine &&
                    faults[1].part == QVMessagePart::body)) {
    text += "!";
  }
  expect(text == message.errorDescription(), "the description is the last text set");
}

void checkPlaces(const QVIPMessage& message, ByteView header, std::optional<ByteView> body) {
  for (const QVMessageFault& fault : message.faults()) {
    expect(!fault.text.empty() && !fault.rule.empty(), "a fault has a text and a rule");
    if (!fault.range) continue;
    expect(fault.part != QVMessagePart::none, "bytes are of a part");
    const std::size_t size = fault.part != QVMessagePart::body ? header.size()
                             : body                            ? body->size()
                                                               : 0;
    expect(fault.range->offset <= size && fault.range->length <= size - fault.range->offset,
           "the bytes of a fault are within their part");
    if (fault.jsonPointer) {
      expect(message.bodyRangeOfJSONPointer(*fault.jsonPointer) == fault.range,
             "the pointer and the bytes agree");
    }
  }
  for (const JSONKeyPlace& place : message.repeatedJSONKeys()) {
    expect(place.range && (*body)[place.range->offset] == '"', "a repeated key stands there");
  }
  if (const auto* json = dynamic_cast<const QVIPJSONPayloadMessage*>(&message)) {
    for (const JSONKeyPlace& place : json->unreadJSONKeys()) {
      expect(place.range && (*body)[place.range->offset] == '"', "an unread key stands there");
    }
  }
}

std::string textsOf(const QVIPMessage* message) {
  std::string texts = message == nullptr ? "null" : message->className();
  if (message == nullptr) return texts;
  for (const QVMessageFault& fault : message->faults()) texts += "\n" + fault.text + fault.actual;
  return texts + "\n" + message->errorDescription().value_or("");
}

// An empty body is none, unless it is said to be JSON.
void checkEmptyBody(const QVIPMessage& message, const QVIPMessage* withEmptyBody) {
  const auto type = message.httpMessage()->contentType();
  if (message.httpMessage()->body() || (type && lowercased(*type).find("json") != type->npos))
    return;
  expect(textsOf(&message) == textsOf(withEmptyBody), "an empty body is no body");
}

void check(QVIPMessage& message, ByteView header, std::optional<ByteView> body) {
  checkDescription(message);
  checkPlaces(message, header, body);
  if (auto* pairing = dynamic_cast<QVIPTLV8PayloadMessage*>(&message)) {
    pairing->tlv8Payload();
    checkPlaces(message, header, body);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::loadProfile();
  const Parts parts = partsOf({data, size});
  const ByteView empty;
  const auto request = QVIPMessage::requestMessageForHeader(*parts[0], parts[1]);
  const std::string_view expected = requestClassOf(*parts[0]);
  expect((request == nullptr ? "null" : request->className()) == expected,
         "the class of a request");
  if (request != nullptr) {
    checkEmptyBody(*request, QVIPMessage::requestMessageForHeader(*parts[0], empty).get());
    check(*request, *parts[0], parts[1]);
  }
  if (!parts[2]) return 0;
  const auto response = QVIPMessage::responseMessageForRequest(request, *parts[2], parts[3]);
  expect((response == nullptr ? "null" : response->className()) ==
             responseClassOf(expected, *parts[2]),
         "the class of a response");
  if (response == nullptr) return 0;
  expect(response->request() == request, "a response knows its request");
  checkEmptyBody(*response,
                 QVIPMessage::responseMessageForRequest(request, *parts[2], empty).get());
  check(*response, *parts[2], parts[3]);
  return 0;
}
