#include "qvparsersupport/ipmessages/ip_message.h"

#include <gtest/gtest.h>

#include <set>

#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/ipmessages/json_message.h"
#include "qvparsersupport/ipmessages/message_class.h"
#include "qvparsersupport/ipmessages/tlv8_message.h"
#include "qvparsersupport/json/ip_json_object.h"
#include "tests/ipmessages/message_dump.h"

namespace qv {
namespace {

using test::faultsOf;
using test::requestFrom;

std::string classOf(const std::shared_ptr<QVIPMessage>& message) {
  return message == nullptr ? "null" : message->className();
}

std::shared_ptr<QVIPMessage> responseTo(std::shared_ptr<QVIPMessage> request,
                                        std::string_view header,
                                        std::optional<std::string_view> body = std::nullopt) {
  return QVIPMessage::responseMessageForRequest(
      std::move(request), bytesOf(header), body ? std::optional(bytesOf(*body)) : std::nullopt);
}

TEST(IPMessage, RecognisesRequestsAndTheirResponses) {
  std::set<std::string> seen = {"QVIPTLV8PayloadMessage", "QVIPJSONPayloadMessage",
                                "QVIPEventNotificationMessage"};
  test::expectAnswers("messages/classes.txt", [&](const test::Case& input) {
    const auto request = requestFrom(std::string(textOf(test::readableBytes(input[0]))));
    if (request == nullptr) return std::string("null");
    const auto response = responseTo(request, "HTTP/1.1 204 No Content\r\n");
    if (response == nullptr) return classOf(request) + ", null";
    EXPECT_EQ(response->request(), request);
    EXPECT_EQ(request->request(), nullptr);
    EXPECT_EQ(classOf(responseTo(request, "EVENT/1.0 200 OK\r\n")), "null");
    seen.insert({request->className(), response->className()});
    return classOf(request) + ", " + classOf(response);
  });
  const auto event = responseTo(nullptr, "EVENT/1.0 200 OK\r\n");
  EXPECT_EQ(classOf(event), "QVIPEventNotificationMessage");
  EXPECT_EQ(event->request(), nullptr);

  std::set<std::string> listed;
  for (const auto& row : QVIPMessage::_messageClasses()) {
    listed.insert(row.name);
    EXPECT_STREQ(row.make()->className(), row.name);
  }
  EXPECT_EQ(listed, seen);
  EXPECT_EQ(QVIPMessage::_messageClasses().size(), seen.size());
}

TEST(IPMessage, AnswersNullForOtherHeaders) {
  EXPECT_EQ(QVIPMessage::requestMessageForHeader({}, std::nullopt), nullptr);
  EXPECT_EQ(QVIPMessage::requestMessageForHeader(bytesOf("GET /accessories HTTP/1.1\xFF"), {}),
            nullptr);
  for (const char* header : {"HTTP/1.1 200 OK\r\n", "EVENT/1.1 200 OK\r\n", "event/1.0 200 OK\r\n",
                             " EVENT/1.0 200 OK\r\n", ""}) {
    EXPECT_EQ(classOf(responseTo(nullptr, header)), "null") << header;
  }
  // What answers an event or another response is nothing.
  const auto event = responseTo(nullptr, "EVENT/1.0 200 OK\r\n");
  EXPECT_EQ(classOf(responseTo(event, "HTTP/1.1 200 OK\r\n")), "null");
}

TEST(IPMessage, AResponseMatchesASubclassOfItsRequest) {
  class Special : public QVIPPairingsRequestMessage {};
  EXPECT_EQ(classOf(responseTo(std::make_shared<Special>(), "HTTP/1.1 200 OK\r\n")),
            "QVIPPairingsResponseMessage");
}

constexpr const char* kStatusText =
    ": HTTP code 207 indicates each characteristic in the response body must include a status\n";

TEST(IPMessage, ValidatesResponses) {
  test::expectAnswers("messages/responses.txt", [](const test::Case& input) {
    const auto body = test::bodyOf(input, 2);
    return faultsOf(*responseTo(requestFrom(input[0]), textOf(test::readableBytes(input[1])),
                                body ? std::optional(textOf(*body)) : std::nullopt));
  });
}

TEST(IPMessage, InsufficientPrivilegesInA500AreNoFault) {
  const auto answer = [](const char* body) {
    return faultsOf(*responseTo(requestFrom("PUT /prepare"),
                                "HTTP/1.1 500\r\nContent-Type: application/vel+json\r\n", body));
  };
  EXPECT_EQ(answer("{\"status\":-70401}"), "");
  EXPECT_NE(answer("{\"status\":-70402}"), "");
}

TEST(IPMessage, SaysWhatWasExpectedAndFound) {
  const auto response =
      responseTo(requestFrom("POST /identify"), "HTTP/1.1 207\r\nContent-Type: json\r\n",
                 "{\"characteristics\":[{},1]}");
  ASSERT_EQ(response->faults().size(), 2U);
  EXPECT_EQ(response->faults()[0].expected, "one of 204, 400");
  EXPECT_EQ(response->faults()[0].actual, "207");
  EXPECT_EQ(response->faults()[1].actual, "entry 1 has none");
}

TEST(IPMessage, PublishesStatusCodes) {
  EXPECT_EQ(VELIPStatusErrorCodeInvalidParameter, -70410);
  EXPECT_EQ(VELIPStatusErrorCodeInsufficientPrivileges, -70401);
}

TEST(IPMessage, KeepsABoundedNumberOfFaults) {
  std::string body = "{\"characteristics\":[0";
  for (int i = 0; i < 100'000; ++i) body += ",0";
  const auto response =
      responseTo(requestFrom("PUT /prepare"),
                 "HTTP/1.1 207\r\nContent-Type: application/vel+json\r\n", body + ",{}]}");
  EXPECT_EQ(response->faults().size(), QVIPMessage::kMaximumFaults);
  EXPECT_EQ(": " + *response->errorDescription() + "\n", kStatusText);
}

// Opens what subclasses may do to the tests.
class Probe : public QVIPPrepareResponseMessage {
 public:
  using QVIPPrepareResponseMessage::checkObjectForError;
  using QVIPPrepareResponseMessage::initWithRequest;
};

TEST(IPMessage, TakesOverFaultsOfThePayloadUnlessItHasATextAlready) {
  const auto root = QVIPJSONObject::make<QVIPJSONObject>(Value(), nullptr);
  const auto number =
      QVIPJSONObject::make<QVIPJSONObject>(std::nullopt, nullptr, QVIPJSONValueType::number);
  Probe good;
  good.checkObjectForError(root.get());
  EXPECT_EQ(faultsOf(good), "");

  const std::string generic = "json.payload body: Payload contains an error.\n";
  Probe absent;
  absent.checkObjectForError(nullptr);
  EXPECT_EQ(faultsOf(absent), generic);

  Probe faulty;
  faulty.checkObjectForError(number.get());
  ASSERT_EQ(faulty.faults().size(), 2U);
  EXPECT_EQ(faulty.errorDescription(), "Payload contains an error.");
  EXPECT_EQ(faulty.faults()[1].text, "Value is not a number.");
  Probe other;
  other.setErrorDescription("mine");
  other.setErrorDescription("mine");
  EXPECT_EQ(faultsOf(other), "message.host -: mine\n");
  other.checkObjectForError(number.get());
  ASSERT_EQ(other.faults().size(), 2U);
  EXPECT_EQ(other.faults()[1].text, "Value is not a number.");
  EXPECT_EQ(other.errorDescription(), "mine");
  other.setErrorDescription(std::nullopt);
  EXPECT_EQ(other.errorDescription(), std::nullopt);

  Probe empty;
  empty.initWithRequest(nullptr, nullptr);
  EXPECT_EQ(faultsOf(empty), "http.status-code start: HTTP code (null)\n");
}

}  // namespace
}  // namespace qv
