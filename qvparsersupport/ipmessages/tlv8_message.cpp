#include "qvparsersupport/ipmessages/tlv8_message.h"

#include <fmt/format.h>

namespace qv {

std::shared_ptr<QVTLV8Packet> QVIPTLV8PayloadMessage::tlv8Payload() {
  if (cachedTLV8Packet_ != nullptr) return cachedTLV8Packet_;
  if (!checkContentType()) return nullptr;
  decodeBody();
  return cachedTLV8Packet_;
}

bool QVIPTLV8PayloadMessage::checkContentType() {
  const auto expected = tlv8MIMEType();
  const auto actual = httpMessageOrEmpty().contentType();
  if (!expected || actual == expected) return true;
  setFault({.rule = "http.content-type",
            .text = fmt::format("Invalid HTTP content type. Expected \"{}\".", *expected),
            .part = QVMessagePart::header,
            .range = httpMessageOrEmpty().valueRangeForKey("Content-Type"),
            .expected = *expected,
            .actual = actual.value_or("no Content-Type")});
  return false;
}

// An absent body is decoded like an empty one.
void QVIPTLV8PayloadMessage::decodeBody() {
  const auto& body = httpMessageOrEmpty().body();
  const ByteView bytes = body ? ByteView(*body) : ByteView();
  cachedTLV8Packet_ = QVTLV8Packet::initWithData(bytes);
  if (!cachedTLV8Packet_->errorDescription()) return;
  const std::size_t offset = cachedTLV8Packet_->errorOffset().value_or(bytes.size());
  setFault({.rule = "tlv8.length",
            .text = *cachedTLV8Packet_->errorDescription(),
            .part = QVMessagePart::body,
            .range = ByteRange{offset, bytes.size() - offset}});
}

std::optional<std::string> QVIPPairingMessage::tlv8MIMEType() const {
  return "application/pairing+tlv8";
}

}  // namespace qv
