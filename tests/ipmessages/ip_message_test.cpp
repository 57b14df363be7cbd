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

struct ClassRow {
  const char* request;  // the first two items of the start line
  const char* requestClass;
  const char* responseClass;
};

constexpr ClassRow kClasses[] = {
    {"POST /pair-setup", "QVIPPairSetupRequestMessage", "QVIPPairSetupResponseMessage"},
    {"POST /pair-verify", "QVIPPairVerifyRequestMessage", "QVIPPairVerifyResponseMessage"},
    {"POST /pairings", "QVIPPairingsRequestMessage", "QVIPPairingsResponseMessage"},
    {"GET /accessories", "QVIPAccessoryAttributeDatabaseRequestMessage",
     "QVIPAccessoryAttributeDatabaseResponseMessage"},
    {"GET /characteristics", "QVIPMultipleCharacteristicReadRequestMessage",
     "QVIPMultipleCharacteristicReadResponseMessage"},
    {"GET /characteristicsX?id=1.1", "QVIPMultipleCharacteristicReadRequestMessage",
     "QVIPMultipleCharacteristicReadResponseMessage"},
    {"PUT /characteristics", "QVIPMultipleCharacteristicWriteRequestMessage",
     "QVIPMultipleCharacteristicWriteResponseMessage"},
    {"PUT /prepare", "QVIPPrepareRequestMessage", "QVIPPrepareResponseMessage"},
    {"POST /identify", "QVIPIdentifyRequestMessage", "QVIPIdentifyResponseMessage"},
    {"POST /resource", "QVHTTPSnapshotRequestMessage", "QVHTTPSnapshotResponseMessage"},
};

TEST(IPMessage, RecognisesRequestsAndTheirResponses) {
  std::set<std::string> seen = {"QVIPTLV8PayloadMessage", "QVIPJSONPayloadMessage",
                                "QVIPEventNotificationMessage"};
  for (const ClassRow& row : kClasses) {
    const auto request = requestFrom(row.request);
    EXPECT_EQ(classOf(request), row.requestClass);
    const auto response = responseTo(request, "HTTP/1.1 204 No Content\r\n");
    EXPECT_EQ(classOf(response), row.responseClass);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(response->request(), request);
    EXPECT_EQ(request->request(), nullptr);
    EXPECT_EQ(classOf(responseTo(request, "EVENT/1.0 200 OK\r\n")), "null");
    seen.insert({row.requestClass, row.responseClass});
  }
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

TEST(IPMessage, AnswersNullForOtherTraffic) {
  for (const char* request : {"PATCH /characteristics",
                              "get /accessories",
                              "GET /accessories?x",
                              "GET /Accessories",
                              "GET  /accessories",
                              "GET /accessories/",
                              "POST /accessories",
                              "GET /characteristic",
                              "GET x/characteristics",
                              "PUT /characteristics?id=1.1",
                              "POST /characteristics",
                              "POST /pair-setup/",
                              "GET /pair-setup",
                              "PUT /pair-verify",
                              "POST /pairing",
                              "POST /prepare",
                              "PUT /identify",
                              "GET /resource",
                              "EVENT/1.0 200",
                              "POST",
                              "",
                              "\r\n"}) {
    EXPECT_EQ(classOf(requestFrom(request)), "null") << request;
  }
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

constexpr const char* kEntryText =
    ": JSON entity for key 'characteristic' is expected to be of type dictionary\n";
constexpr const char* kStatusText =
    ": HTTP code 207 indicates each characteristic in the response body must include a status\n";

struct ValidationRow {
  std::string code;         // what follows "HTTP/1.1"
  const char* contentType;  // null for no field
  std::optional<std::string_view> body;
  std::string faults;
};

// The request is an identify request when the code begins with "!", otherwise a prepare request.
TEST(IPMessage, ValidatesResponses) {
  const std::string syntax = "json.syntax body ";
  const char* const kJSON = "application/vel+json";
  const ValidationRow rows[] = {
      // Status codes.
      {" 200 OK", nullptr, std::nullopt, ""},
      {" 204", nullptr, std::nullopt, ""},
      {" 207 Multi-Status", nullptr, std::nullopt, ""},
      {" 400 Bad", nullptr, std::nullopt, ""},
      {" 201 Created", nullptr, std::nullopt, "http.status-code start 9+3: HTTP code 201\n"},
      {" 2000 OK", nullptr, std::nullopt, "http.status-code start 9+4: HTTP code 2000\n"},
      {"  200 OK", nullptr, std::nullopt, "http.status-code start 9+0: HTTP code \n"},
      {" %n{} x", nullptr, std::nullopt, "http.status-code start 9+4: HTTP code %n{}\n"},
      {"", nullptr, std::nullopt, "http.status-code start: HTTP code (null)\n"},
      {"! 200 OK", nullptr, std::nullopt, "http.status-code start 9+3: HTTP code 200\n"},
      {"! 204", nullptr, std::nullopt, ""},
      {"! 400", nullptr, std::nullopt, ""},
      // An empty 204.
      {" 204", nullptr, "", ""},
      {" 204", nullptr, "x",
       "http.204-body body 0+1: HTTP code 204 indicates no content, but this message has "
       "content.\n"},
      {" 200", nullptr, "x", ""},
      // JSON bodies; a later text replaces an earlier one.
      {" 200", kJSON, "{\"a\":1}", ""},
      {" 200", kJSON, std::nullopt, ""},
      {" 200", "text/plain", "{", ""},
      {" 200", "Text/JSON; charset=x", "{]",
       syntax + "1+1: Unable to parse HTTP body as JSON: syntax error at byte 1\n"},
      {" 200", kJSON, "",
       syntax + "0+0: Unable to parse HTTP body as JSON: incomplete JSON at byte 0\n"},
      {" 200", kJSON, "[]", "json.top-level body 0+2: Top-level JSON entity is not an object\n"},
      {" 204", kJSON, "[1]",
       "http.204-body body 0+3: HTTP code 204 indicates no content, but this message has "
       "content.\njson.top-level body 0+3: Top-level JSON entity is not an object\n"},
      {" 299", kJSON, "{",
       "http.status-code start 9+3: HTTP code 299\n" + syntax +
           "1+0: Unable to parse HTTP body as JSON: incomplete JSON at byte 1\n"},
      // A parse fault ends the validation, so nothing is said about the 500.
      {" 500", kJSON, "{",
       syntax + "1+0: Unable to parse HTTP body as JSON: incomplete JSON at byte 1\n"},
      // 207.
      {" 207", "text/plain", "{}", ""},
      {" 207", kJSON, "{\"characteristics\":[]}", ""},
      {" 207", kJSON, "{\"characteristics\":[{\"status\":0},{\"status\":-70402}]}", ""},
      {" 207", kJSON, "{\"characteristics\":[{\"status\":true}]}", ""},
      {" 207", kJSON, "{}", "json.207-characteristics body: Key 'characteristics' is absent\n"},
      {" 207", kJSON, "{\"characteristics\":{}}",
       "json.207-characteristics body: Value for key 'characteristics' is not an array\n"},
      {" 207", kJSON, "{\"characteristics\":[{\"status\":0},{\"aid\":1},7]}",
       std::string("json.207-status body") + kStatusText},
      {" 207", kJSON, "{\"characteristics\":[{\"status\":\"0\"},7]}",
       "json.207-status body: Value for key 'status' is not a number\n"},
      {" 207", kJSON, "{\"characteristics\":[{\"status\":null},7]}",
       "json.207-status body: Value for key 'status' is not a number\n"},
      {" 207", kJSON, "{\"characteristics\":[7,{\"status\":0},[]]}",
       std::string("json.207-entry body") + kEntryText + "json.207-entry body" + kEntryText},
      {" 207", kJSON, "{\"characteristics\":[7,{},7]}",
       std::string("json.207-entry body") + kEntryText + "json.207-status body" + kStatusText},
      // 500.
      {" 500", kJSON, "{\"status\":-70401}", ""},
      {" 500", kJSON, "{\"status\":-70401.9}", ""},
      {" 500", kJSON, "{\"status\":-70402}",
       "http.500 body: HTTP code 500 indicates Internal Server Error\n"},
      {" 500", kJSON, "{}", "http.500 body: Key 'status' is absent\n"},
      {" 500", kJSON, "{\"status\":[]}", "http.500 body: Value for key 'status' is not a number\n"},
      {" 500", nullptr, "{\"status\":-70401}",
       "http.500 body: HTTP code 500 indicates Internal Server Error\n"},
      {"! 500", nullptr, std::nullopt,
       "http.status-code start 9+3: HTTP code 500\n"
       "http.500 body: HTTP code 500 indicates Internal Server Error\n"},
  };
  for (const ValidationRow& row : rows) {
    const bool identify = row.code.starts_with('!');
    std::string header = "HTTP/1.1" + row.code.substr(identify ? 1 : 0) + "\r\n";
    if (row.contentType != nullptr)
      header += std::string("Content-Type: ") + row.contentType + "\n";
    const auto request = requestFrom(identify ? "POST /identify" : "PUT /prepare");
    EXPECT_EQ(faultsOf(*responseTo(request, header, row.body)), row.faults)
        << header << row.body.value_or("(null)");
  }
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
  const auto response = responseTo(requestFrom("PUT /prepare"),
                                   "HTTP/1.1 207\r\nContent-Type: json\r\n", body + ",{}]}");
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
  Probe good;
  good.checkObjectForError(root.get());
  EXPECT_EQ(faultsOf(good), "");

  const std::string generic = "json.payload body: Payload contains an error.\n";
  Probe absent;
  absent.checkObjectForError(nullptr);
  EXPECT_EQ(faultsOf(absent), generic);

  const auto child = QVIPJSONObject::make<QVIPJSONObject>(std::nullopt, root);
  for (const auto& object : {root, child}) {
    Probe faulty;
    faulty.checkObjectForError(object.get());
    EXPECT_EQ(faultsOf(faulty), generic);
    faulty.setErrorDescription("mine");
    faulty.setErrorDescription("mine");
    faulty.checkObjectForError(object.get());
    EXPECT_EQ(faultsOf(faulty), generic + "message.host -: mine\n");
    faulty.setErrorDescription(std::nullopt);
    EXPECT_EQ(faultsOf(faulty), generic + "message.host -: mine\nnull\n");
  }

  Probe empty;
  empty.initWithRequest(nullptr, nullptr);
  EXPECT_EQ(faultsOf(empty), "http.status-code start: HTTP code (null)\n");
}

}  // namespace
}  // namespace qv
