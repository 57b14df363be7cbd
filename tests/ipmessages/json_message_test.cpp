#include "qvparsersupport/ipmessages/json_message.h"

#include <gtest/gtest.h>

#include "tests/ipmessages/message_dump.h"

namespace qv {
namespace {

using test::requestFrom;

std::string bytesAt(const QVHTTPMessage& message, ByteView header, QVMessagePart part,
                    const std::optional<ByteRange>& range) {
  if (!range) return "no bytes";
  const ByteView whole = part == QVMessagePart::body ? ByteView(*message.body()) : header;
  return std::string(textOf(whole.subspan(range->offset, range->length)).substr(0, 60));
}

std::string dump(const QVIPMessage& message, ByteView header) {
  std::string out = message.errorDescription().value_or("valid") + "\n";
  const auto add = [&](QVMessagePart part, const std::optional<ByteRange>& range) {
    out += " | " + bytesAt(*message.httpMessage(), header, part, range);
  };
  for (const QVMessageFault& fault : message.faults()) {
    EXPECT_FALSE(fault.rule.empty());
    out += "- " + fault.text;
    if (fault.jsonPointer) out += " | at " + *fault.jsonPointer;
    if (!fault.key.empty()) out += " of " + fault.key;
    add(fault.part, fault.range);
    out += " | " + fault.expected + " | " + fault.actual + "\n";
  }
  if (const auto* read =
          dynamic_cast<const QVIPMultipleCharacteristicReadRequestMessage*>(&message)) {
    const auto& ids = read->characteristicReadURLComponents();
    out += ids ? "ids" : "no ids";
    for (std::size_t i = 0; ids && i < ids->size(); ++i) {
      out += " " + (*ids)[i][0] + "." + (*ids)[i][1];
    }
    out += "\n";
  }
  const auto places = [&](const char* what, const std::vector<JSONKeyPlace>& keys) {
    for (const JSONKeyPlace& place : keys) {
      out += std::string(what) + " " + place.key + " at " + place.pointer;
      add(QVMessagePart::body, place.range);
      out += " @" + std::to_string(place.range->offset) + "\n";
    }
  };
  if (const auto* json = dynamic_cast<const QVIPJSONPayloadMessage*>(&message)) {
    places("unread", json->unreadJSONKeys());
  }
  places("repeated", message.repeatedJSONKeys());
  return out;
}

constexpr std::string_view kJSONType = "Content-Type: application/vel+json\r\n";

Bytes headerFrom(const std::string& line) {
  std::string text(textOf(test::readableBytes(line)));
  if (text.find('\n') == std::string::npos) text += "\r\n" + std::string(kJSONType);
  const ByteView bytes = bytesOf(text);
  return {bytes.begin(), bytes.end()};
}

TEST(JSONMessage, DecodesBodiesWithEveryFaultAndItsPlace) {
  test::expectAnswers("messages/json-messages.txt", [](const test::Case& input) {
    const bool isRequest = input[0].find(" HTTP/1.1") != std::string::npos ||
                           input[0].find("\\r\\n") != std::string::npos;
    const Bytes header = headerFrom(input[isRequest ? 0 : 1]);
    const auto body = test::bodyOf(input, isRequest ? 1 : 2);
    const auto request = isRequest || input[0] == "-" ? nullptr : requestFrom(input[0]);
    const auto message = isRequest ? QVIPMessage::requestMessageForHeader(header, body)
                                   : QVIPMessage::responseMessageForRequest(request, header, body);
    return message == nullptr ? "null" : dump(*message, header);
  });
}

TEST(JSONMessage, ScansIDsOfURLs) {
  test::expectAnswers("messages/urls.txt", [](const test::Case& input) {
    std::optional<std::string> error;
    const Bytes url = test::readableBytes(input[0]);
    const auto ids =
        QVIPMultipleCharacteristicReadRequestMessage::idStringsFromCharacteristicsURLString(
            textOf(url), &error);
    EXPECT_EQ(ids.has_value(), !error.has_value());
    std::string answer;
    for (std::size_t i = 0; ids && i < ids->size(); ++i) {
      answer += (*ids)[i][0] + " " + (*ids)[i][1] + "\n";
    }
    return ids ? answer : *error;
  });
}

std::string repeated(std::string_view unit, std::size_t count = 1'000'000) {
  std::string text;
  text.reserve(unit.size() * count);
  for (std::size_t i = 0; i < count; ++i) text += unit;
  return text;
}

std::shared_ptr<QVIPMessage> write(std::string_view body, const JSONLimits& limits = {}) {
  return QVIPMessage::requestMessageForHeader(headerFrom("PUT /characteristics HTTP/1.1"),
                                              bytesOf(body), limits);
}

// Each of these takes hours if anything is done again for every entry, key or fault.
TEST(JSONMessage, LargeBodiesAreReadInLinearTimeWithBoundedFaults) {
  EXPECT_EQ(
      characteristicIDsOfURL("/characteristics?id=" + repeated("1.2,") + "1.2", nullptr)->size(),
      1'000'001U);
  EXPECT_EQ(characteristicIDsOfURL("/characteristics?id=1.2" + repeated(","), nullptr),
            std::nullopt);

  const auto faulty = write("{\"characteristics\":[0" + repeated(",0") + "]}");
  EXPECT_EQ(faulty->errorDescription(), "Payload contains an error.");
  ASSERT_EQ(faulty->faults().size(), QVIPMessage::kMaximumFaults);
  EXPECT_EQ(faulty->faults().back().jsonPointer, "/characteristics/3332");

  const auto status = QVIPMessage::responseMessageForRequest(
      requestFrom("GET /characteristics"), headerFrom("HTTP/1.1 207"),
      bytesOf("{\"characteristics\":[{}" + repeated(",0", 100'000) + "]}"));
  EXPECT_EQ(
      status->errorDescription(),
      "HTTP code 207 indicates each characteristic in the response body must include a status");

  std::string keys = "{\"characteristics\":[{\"aid\":1,\"iid\":1";
  for (int i = 0; i < 1'000'000; ++i) keys += ",\"" + std::to_string(i) + "\":0";
  const auto unread = write(keys + "}]}");
  EXPECT_EQ(unread->errorDescription(), std::nullopt);
  const auto places = dynamic_cast<QVIPJSONPayloadMessage&>(*unread).unreadJSONKeys();
  ASSERT_EQ(places.size(), QVIPMessage::kMaximumFaults);
  EXPECT_EQ(places.back().pointer, "/characteristics/0/9999");

  const auto again = write("{\"characteristics\":[{\"iid\":1" + repeated(",\"aid\":1") + "}]}");
  EXPECT_EQ(again->errorDescription(), std::nullopt);
  EXPECT_EQ(again->repeatedJSONKeys().size(), QVIPMessage::kMaximumFaults);
}

TEST(JSONMessage, BodiesBeyondTheLimitsAreNoJSON) {
  constexpr std::string_view kBody = "{\"characteristics\":[{\"aid\":1,\"iid\":1,\"value\":[[]]}]}";
  const auto description = [&](const JSONLimits& limits) {
    return write(kBody, limits)->errorDescription().value_or("valid");
  };
  EXPECT_EQ(description({.maximumBytes = kBody.size(), .maximumDepth = 5}), "valid");
  const std::string noJSON = "HTTP payload is not a valid JSON object.";
  EXPECT_EQ(description({.maximumBytes = kBody.size() - 1}), noJSON);
  EXPECT_EQ(description({.maximumDepth = 4}), noJSON);
  const auto request = requestFrom("PUT /characteristics");
  const auto response = QVIPMessage::responseMessageForRequest(
      request, headerFrom("HTTP/1.1 207"), bytesOf(repeated("[", 2000)), JSONLimits());
  EXPECT_EQ(response->errorDescription(), noJSON);
  EXPECT_EQ(response->faults().at(0).range, (ByteRange{1024, 1}));
}

TEST(JSONMessage, KeepsItsPayload) {
  const auto message = std::dynamic_pointer_cast<QVIPMultipleCharacteristicWriteRequestMessage>(
      write("{\"characteristics\":[{\"aid\":1,\"iid\":2,\"value\":\"kept\"}]}"));
  const auto entry = message->multipleWriteObject()->characteristicsValue()->at(0);
  message->setHttpMessage(nullptr);
  EXPECT_EQ(message->jsonPayload(), message->cachedJSONPayload());
  EXPECT_EQ(message->unreadJSONKeys().size(), 0U);
  // One parse serves the payload and the objects.
  EXPECT_EQ(entry->valueValue()->asString()->data(), message->cachedJSONPayload()
                                                         ->find("characteristics")
                                                         ->at(0)
                                                         .find("value")
                                                         ->asString()
                                                         ->data());
  message->setCachedJSONPayload(std::nullopt);
  EXPECT_EQ(message->jsonPayload(), std::nullopt);
  EXPECT_EQ(message->errorDescription(), std::nullopt);
}

}  // namespace
}  // namespace qv
