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

std::shared_ptr<QVIPTLV8PayloadMessage> payloadMessage(std::shared_ptr<QVIPMessage> message) {
  return std::dynamic_pointer_cast<QVIPTLV8PayloadMessage>(message);
}

std::shared_ptr<QVIPTLV8PayloadMessage> request(std::string_view contentType,
                                                std::optional<std::string_view> body) {
  std::string header = "POST /pair-setup HTTP/1.1\r\n" + std::string(contentType) + "\r\n";
  return payloadMessage(QVIPMessage::requestMessageForHeader(
      bytesOf(header), body ? std::optional(bytesOf(*body)) : std::nullopt));
}

const std::string kLengthText = ": Length describes more bytes than are available.\n";
const std::string kEnumText = ": Field 0x01 is invalid: Value does not conform to allowed values\n";
const std::string kTooLong =
    ": Field 0x05 is invalid: Encoded value is 3 bytes, which is larger than the maximum of 2 "
    "bytes.\n";

constexpr std::string_view kType = "Content-Type: application/pairing+tlv8";

// The types of the packet's fields, or null; then the faults.
std::string dump(QVIPTLV8PayloadMessage& message) {
  const auto packet = message.tlv8Payload();
  std::string out = packet == nullptr ? "null" : "";
  if (packet != nullptr) {
    for (const auto& field : *packet->fields()) out += std::to_string(field.type()) + " ";
  }
  return out + "\n" + faultsOf(message);
}

TEST_F(TLV8Message, DecodesAndChecksBodies) {
  const std::string wrongType =
      ": Invalid HTTP content type. Expected \"application/pairing+tlv8\".\n";
  const struct {
    std::string_view contentType;
    std::optional<std::string_view> body;
    std::string dump;
  } rows[] = {
      {kType, "\x01\x01\x01\x05\x02xy", "1 5 \n"},
      {kType, std::nullopt, "\n"},
      {kType, "", "\n"},
      {"Content-Type: application/pairing+tlv8; v=1", "\x01\x01\x01",
       "null\nhttp.content-type header 41+29" + wrongType},
      {"Content-Type: Application/pairing+tlv8", "\x01\x01\x01",
       "null\nhttp.content-type header 41+24" + wrongType},
      {"content-type: application/pairing+tlv8", "\x01\x01\x01",
       "null\nhttp.content-type header 27+38" + wrongType},
      {"", std::nullopt, "null\nhttp.content-type header" + wrongType},
      {kType, "\x01\x01\x01\x05\x09x", "1 \ntlv8.length body 3+3" + kLengthText},
      {kType, "\x05", "\ntlv8.length body 0+1" + kLengthText},
      {kType, "\x01\x01\x01\x07\x01x",
       "1 7 \ntlv8.unknown-field body 3+3 07: Unknown field type 0x07 provided in TLV8.\n"},
      {kType, "\x01\x01\x02", "1 \ntlv8.field-enum body 0+3 01" + kEnumText},
      {kType, "\x01\x02\x01\x01",
       "1 \ntlv8.field-value body 0+4 01: Field 0x01 is invalid: Invalid length 2 for uint8\n"},
      {kType, "\x05\x01x\x01\x01\x01\x05\x03xyz\x05\x04wxyz",
       "5 1 5 5 \ntlv8.field-length body 6+5 05[2]" + kTooLong},
      {kType, "\x05\x01x\x05\x03xyz", "5 5 \ntlv8.field-length body 3+5 05[2]" + kTooLong},
      {kType, "\x05\x03xyz\x05\x01x", "5 5 \ntlv8.field-length body 0+5 05[1]" + kTooLong},
      {kType, std::string_view("\xAB\0", 2),
       "171 \ntlv8.unknown-field body 0+2 AB: Unknown field type 0xab provided in TLV8.\n"},
      // The decoding text stays the description, the field's fault is kept beside it.
      {kType, "\x01\x01\x02\x05\x09x",
       "1 \ntlv8.length body 3+3" + kLengthText + "tlv8.field-enum body 0+3 01" + kEnumText +
           kLengthText.substr(2)},
  };
  for (const auto& row : rows) {
    const auto message = request(row.contentType, row.body);
    EXPECT_EQ(faultsOf(*message), "");
    EXPECT_EQ(dump(*message), row.dump);
    // A second call changes nothing: good or faulty, a packet is checked once; without one the
    // check is repeated and finds the same.
    const auto kept = message->cachedTLV8Packet();
    EXPECT_EQ(dump(*message), row.dump);
    EXPECT_EQ(message->tlv8Payload(), kept);
  }
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
    const auto message = request(kType, std::nullopt);
    const std::string header = "X\r\n" + std::string(row.fields) + "\r\n";
    message->setHttpMessage(QVHTTPMessage::initWithHeader(bytesOf(header), std::nullopt));
    EXPECT_EQ(message->tlv8Payload(), nullptr);
    EXPECT_EQ(message->faults().at(0).actual, row.actual);
  }
}

TEST_F(TLV8Message, ADecodingFaultReplacesTheTextOfTheResponse) {
  const auto answer = [](std::string_view body) {
    const std::string header = "HTTP/1.1 201\r\n" + std::string(kType) + "\r\n";
    return payloadMessage(QVIPMessage::responseMessageForRequest(request(kType, std::nullopt),
                                                                 bytesOf(header), bytesOf(body)));
  };
  EXPECT_EQ(dump(*answer("\x05")),
            "\nhttp.status-code start 9+3: HTTP code 201\ntlv8.length body 0+1" + kLengthText);
  EXPECT_EQ(dump(*answer("\x01\x01\x02")),
            "1 \nhttp.status-code start 9+3: HTTP code 201\n"
            "tlv8.field-enum body 0+3 01" +
                kEnumText + "HTTP code 201\n");
}

TEST_F(TLV8Message, NamesTheDefinitionThatAFaultBreaks) {
  const auto definition = table().tlv8WithName("Pairing");
  const auto limited = request(kType, "\x05\x03xyz");
  limited->tlv8Payload();
  EXPECT_EQ(limited->faults().at(0).definition, definition->fields()->at(1));
  const auto unknown = request(kType, "\x09\x01x");
  unknown->tlv8Payload();
  EXPECT_EQ(unknown->faults().at(0).definition, definition);
}

TEST_F(TLV8Message, TakesTheDefinitionKnownWhenItDecodes) {
  const auto early = request(kType, "\x09\x01x");
  load("");
  EXPECT_EQ(early->tlv8Definition(), nullptr);
  EXPECT_EQ(dump(*early), "9 \n");
  load(kPairing);
  EXPECT_EQ(dump(*early), "9 \n");
  EXPECT_EQ(early->tlv8Definition()->name(), "Pairing");
}

TEST_F(TLV8Message, NeverRaisesWhileALoadIsInProgress) {
  const auto message = request(kType, "\x09\x01x");
  table().setLoadInProgress(true);
  EXPECT_EQ(message->tlv8Definition()->name(), "Pairing");
  table().setTlv8s(nullptr);
  EXPECT_EQ(message->tlv8Definition(), nullptr);
  EXPECT_EQ(dump(*message), "9 \n");
  table().setLoadInProgress(false);
}

TEST_F(TLV8Message, TheBaseChecksNeitherTypeNorDefinition) {
  QVIPTLV8PayloadMessage message;
  EXPECT_EQ(dump(message), "\n");
  message.setCachedTLV8Packet(nullptr);
  const std::string_view body("\x09\x01x");
  message.setHttpMessage(QVHTTPMessage::initWithHeader({}, bytesOf(body)));
  EXPECT_EQ(dump(message), "9 \n");
}

}  // namespace
}  // namespace qv
