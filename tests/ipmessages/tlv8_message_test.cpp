#include "qvparsersupport/ipmessages/tlv8_message.h"

#include <gtest/gtest.h>

#include "qvparsersupport/symbols/symbol_table.h"
#include "tests/ipmessages/message_dump.h"
#include "tests/support/xml_fragment.h"

namespace qv {
namespace {

using test::faultsOf;

QVSymbolTable& table() {
  return QVSymbolTable::sharedSymbolTable();
}

void load(std::string_view tlv8s) {
  std::optional<std::string> error;
  const std::shared_ptr<const XMLDocument> documents[] = {test::documentFrom(test::profileText(
      "<enum name=\"State\" format=\"uint8\"><values><value value=\"1\" symbol=\"One\"/>"
      "</values></enum>",
      tlv8s, "", ""))};
  ASSERT_TRUE(table().loadDocuments(documents, &error)) << error.value_or("");
}

constexpr const char* kPairing =
    "<tlv8 name=\"Other\"><fields><field type=\"0x01\" name=\"N\" format=\"string\"/></fields>"
    "</tlv8><tlv8 name=\"Pairing\"><fields>"
    "<field type=\"0x01\" name=\"State\" format=\"uint8\" enum=\"State\"/>"
    "<field type=\"0x05\" name=\"Identifier\" format=\"data\" maximumLength=\"2\"/>"
    "</fields></tlv8>";

class TLV8Message : public testing::Test {
 protected:
  void SetUp() override { load(kPairing); }
  void TearDown() override { table()._reset(); }
};

constexpr std::string_view kType = "Content-Type: application/pairing+tlv8";

std::shared_ptr<QVIPTLV8PayloadMessage> payloadMessage(std::shared_ptr<QVIPMessage> message) {
  return std::dynamic_pointer_cast<QVIPTLV8PayloadMessage>(message);
}

std::shared_ptr<QVIPTLV8PayloadMessage> request(std::string_view body) {
  const std::string header = "POST /pair-setup HTTP/1.1\r\n" + std::string(kType) + "\r\n";
  return payloadMessage(QVIPMessage::requestMessageForHeader(bytesOf(header), bytesOf(body)));
}

const std::string kLengthText = ": Length describes more bytes than are available.\n";
const std::string kEnumText = ": Field 0x01 is invalid: Value does not conform to allowed values\n";
// The types of the packet's fields, or null; then the faults.
std::string dump(QVIPTLV8PayloadMessage& message) {
  const auto packet = message.tlv8Payload();
  std::string out = packet == nullptr ? "null" : "fields";
  if (packet != nullptr) {
    for (const auto& field : *packet->fields()) out += " " + std::to_string(field.type());
  }
  return out + "\n" + faultsOf(message);
}

TEST_F(TLV8Message, DecodesAndChecksBodies) {
  test::expectAnswers("messages/pairing-bodies.txt", [](const test::Case& input) {
    const auto message = payloadMessage(QVIPMessage::requestMessageForHeader(
        test::readableBytes(input[0]), test::bodyOf(input, 1)));
    EXPECT_EQ(faultsOf(*message), "");
    const std::string first = dump(*message);
    // A second call changes nothing: good or faulty, a packet is checked once; without one the
    // check is repeated and finds the same.
    const auto kept = message->cachedTLV8Packet();
    EXPECT_EQ(dump(*message), first);
    EXPECT_EQ(message->tlv8Payload(), kept);
    return first;
  });
}

TEST_F(TLV8Message, SaysWhenOnlyTheLetterCaseOfContentTypeDiffers) {
  const struct {
    const char* fields;
    const char* actual;
  } rows[] = {
      {"Content-Type: a\r\ncontent-type: b", "a"},
      {"X: 1\r\nCONTENT-Type: b\r\ncontent-type: c",
       "no Content-Type but CONTENT-Type; the letter case counts"},
      {"Content-Typ: a\r\nContent-Type : b\r\nContent_Type: c", "no Content-Type"},
      {"\xFF", "no Content-Type"},
  };
  for (const auto& row : rows) {
    const auto message = request("");
    const std::string header = "X\r\n" + std::string(row.fields) + "\r\n";
    message->setHttpMessage(QVHTTPMessage::initWithHeader(bytesOf(header), std::nullopt));
    EXPECT_EQ(message->tlv8Payload(), nullptr);
    EXPECT_EQ(message->faults().at(0).actual, row.actual);
  }
}

TEST_F(TLV8Message, ADecodingFaultReplacesTheTextOfTheResponse) {
  const auto answer = [](std::string_view body) {
    const std::string header = "HTTP/1.1 201\r\n" + std::string(kType) + "\r\n";
    return payloadMessage(
        QVIPMessage::responseMessageForRequest(request(""), bytesOf(header), bytesOf(body)));
  };
  EXPECT_EQ(
      dump(*answer("\x05")),
      "fields\nhttp.status-code start 9+3: HTTP code 201\ntlv8.length body 0+1" + kLengthText);
  EXPECT_EQ(dump(*answer("\x01\x01\x02")),
            "fields 1\nhttp.status-code start 9+3: HTTP code 201\n"
            "tlv8.field-enum body 0+3 01" +
                kEnumText + "HTTP code 201\n");
}

TEST_F(TLV8Message, NamesTheDefinitionThatAFaultBreaks) {
  const auto definition = table().tlv8WithName("Pairing");
  const auto limited = request("\x05\x03xyz");
  limited->tlv8Payload();
  EXPECT_EQ(limited->faults().at(0).definition, definition->fields()->at(1));
  const auto unknown = request("\x09\x01x");
  unknown->tlv8Payload();
  EXPECT_EQ(unknown->faults().at(0).definition, definition);
}

TEST_F(TLV8Message, TakesTheDefinitionKnownWhenItDecodes) {
  const auto early = request("\x09\x01x");
  load("");
  EXPECT_EQ(early->tlv8Definition(), nullptr);
  EXPECT_EQ(dump(*early), "fields 9\n");
  load(kPairing);
  EXPECT_EQ(dump(*early), "fields 9\n");
  EXPECT_EQ(early->tlv8Definition()->name(), "Pairing");
}

TEST_F(TLV8Message, NeverRaisesWhileALoadIsInProgress) {
  const auto message = request("\x09\x01x");
  table().setLoadInProgress(true);
  EXPECT_EQ(message->tlv8Definition()->name(), "Pairing");
  table().setTlv8s(nullptr);
  EXPECT_EQ(message->tlv8Definition(), nullptr);
  EXPECT_EQ(dump(*message), "fields 9\n");
  table().setLoadInProgress(false);
}

TEST_F(TLV8Message, TheBaseChecksNeitherTypeNorDefinition) {
  QVIPTLV8PayloadMessage message;
  EXPECT_EQ(dump(message), "fields\n");
  message.setCachedTLV8Packet(nullptr);
  const std::string_view body("\x09\x01x");
  message.setHttpMessage(QVHTTPMessage::initWithHeader({}, bytesOf(body)));
  EXPECT_EQ(dump(message), "fields 9\n");
}

}  // namespace
}  // namespace qv
