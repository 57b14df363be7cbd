#include "capture/exchange_pairing.h"

#include <gtest/gtest.h>

#include <string>

#include "capture/byte_source.h"
#include "capture/stream_items.h"

namespace qv::capture::test {
namespace {

std::shared_ptr<StreamItemSource> streamOf(Direction direction, std::string_view text) {
  const ByteView bytes = bytesOf(text);
  auto source = std::make_shared<MemorySource>(Bytes(bytes.begin(), bytes.end()), 7);
  return std::make_shared<ByteStreamItems>(source, direction);
}

std::string startLineOf(const FramedMessage& message) {
  const std::string_view header = textOf(message.header);
  return std::string(header.substr(0, header.find('\r')));
}

// One line for each record: what it is, then the request that it is or answers.
std::string report(std::string_view requests, std::string_view responses) {
  ExchangePairing pairing(streamOf(Direction::toAccessory, requests),
                          streamOf(Direction::toController, responses));
  std::string text;
  while (const auto record = pairing.next()) {
    if (const Damage* damage = record->damage()) {
      text += "damage: " + damage->text + "\n";
      continue;
    }
    text += startLineOf(*record->message());
    if (record->requestIndex) text += " #" + std::to_string(*record->requestIndex);
    if (record->answers) text += " -> #" + std::to_string(*record->answers);
    if (record->pairingUncertain) text += " uncertain";
    if (!record->unpairedReason.empty()) text += ": " + std::string(record->unpairedReason);
    text += "\n";
  }
  return text;
}

const std::string kGetA = "GET /a HTTP/1.1\r\n\r\n";
const std::string kGetB = "GET /b HTTP/1.1\r\n\r\n";
const std::string kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
const std::string kOK = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}";
const std::string kNoContent = "HTTP/1.1 204 No Content\r\n\r\n";
const std::string kEvent = "EVENT/1.0 200 OK\r\nContent-Length: 2\r\n\r\n{}";

struct Case {
  const char* name;
  std::string requests;
  std::string responses;
  std::string records;
};

const Case kCases[] = {
    {"in order, informational responses first, events where they stand", kGetA + kGetB,
     kContinue + kEvent + kOK + kEvent + kNoContent,
     "GET /a HTTP/1.1 #0\n"
     "HTTP/1.1 100 Continue -> #0\n"
     "EVENT/1.0 200 OK\n"
     "HTTP/1.1 200 OK -> #0\n"
     "GET /b HTTP/1.1 #1\n"
     "EVENT/1.0 200 OK\n"
     "HTTP/1.1 204 No Content -> #1\n"},
    {"a request without response", kGetA + kGetB, kOK,
     "GET /a HTTP/1.1 #0\n"
     "HTTP/1.1 200 OK -> #0\n"
     "GET /b HTTP/1.1 #1\n"},
    {"a response without request", kGetA, kOK + kNoContent,
     "GET /a HTTP/1.1 #0\n"
     "HTTP/1.1 200 OK -> #0\n"
     "HTTP/1.1 204 No Content: the capture holds no request for it\n"},
    {"no requests at all", "", kContinue + kEvent,
     "HTTP/1.1 100 Continue: the capture holds no request for it\n"
     "EVENT/1.0 200 OK\n"},
    {"stray bytes without a line end hide no message", kGetA + "}}" + kGetB, kOK + "}}" + kOK,
     "GET /a HTTP/1.1 #0\n"
     "HTTP/1.1 200 OK -> #0\n"
     "damage: 2 bytes that begin no message\n"
     "GET /b HTTP/1.1 #1\n"
     "damage: 2 bytes that begin no message\n"
     "HTTP/1.1 200 OK -> #1\n"},
    {"lost requests: what came before stays certain", kGetA + "?\r\n" + kGetB,
     kOK + kEvent + kNoContent,
     "GET /a HTTP/1.1 #0\n"
     "HTTP/1.1 200 OK -> #0\n"
     "damage: 3 bytes that begin no message\n"
     "GET /b HTTP/1.1 #1\n"
     "EVENT/1.0 200 OK\n"
     "HTTP/1.1 204 No Content uncertain: skipped bytes may hide a request\n"},
    {"lost responses", kGetA + kGetB, "?\r\n" + kOK + kNoContent,
     "GET /a HTTP/1.1 #0\n"
     "damage: 3 bytes that begin no message\n"
     "HTTP/1.1 200 OK uncertain: skipped bytes may hide a response\n"
     "GET /b HTTP/1.1 #1\n"
     "HTTP/1.1 204 No Content uncertain: skipped bytes may hide a response\n"},
    {"a request whose end is not known", "PUT /c HTTP/1.1\r\nContent-Length: x\r\n\r\n" + kGetB,
     kOK + kNoContent,
     "PUT /c HTTP/1.1 #0\n"
     "HTTP/1.1 200 OK -> #0\n"
     "GET /b HTTP/1.1 #1\n"
     "HTTP/1.1 204 No Content uncertain: the end of an earlier request is not known\n"},
    {"an event whose end is not known", kGetA,
     "EVENT/1.0 200 OK\r\nContent-Length: x\r\n\r\n" + kOK,
     "GET /a HTTP/1.1 #0\n"
     "EVENT/1.0 200 OK\n"
     "HTTP/1.1 200 OK uncertain: the end of an earlier response is not known\n"},
    {"empty lines hide nothing, and a cut stream ends nothing but itself", kGetA + "\r\n",
     kOK + "\r\nHT",
     "GET /a HTTP/1.1 #0\n"
     "HTTP/1.1 200 OK -> #0\n"
     "damage: 2 bytes of empty lines after the last message\n"
     "HT uncertain: the capture ends before its first word\n"},
};

TEST(ExchangePairing, YieldsTheRecords) {
  for (const Case& row : kCases) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(report(row.requests, row.responses), row.records);
  }
}

}  // namespace
}  // namespace qv::capture::test
