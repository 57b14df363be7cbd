#include "qvparsersupport/ipmessages/tlv8_message.h"

#include <fmt/format.h>

#include <algorithm>

#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/transformers/tlv8_transformers.h"

namespace qv {

namespace {

constexpr const char* kPairingDefinition = "Pairing";

// The field's type in hexadecimal, and which of its type it is when there are several.
std::string pathOf(const std::vector<QVTLV8Field>& fields, std::size_t index) {
  const auto sameType = [type = fields[index].type()](const QVTLV8Field& field) {
    return field.type() == type;
  };
  const auto place = fields.begin() + static_cast<std::ptrdiff_t>(index);
  const auto before = std::count_if(fields.begin(), place, sameType);
  const std::string type = fmt::format("{:02X}", fields[index].type());
  const bool alone = before == 0 && std::none_of(place + 1, fields.end(), sameType);
  return alone ? type : fmt::format("{}[{}]", type, before + 1);
}

// The item with its type and length bytes; a separator is one byte.
ByteRange rangeOf(const QVTLV8Field& field) {
  const auto value = field.value();
  return {field.offset(), value ? 2 + value->size() : 1};
}

}  // namespace

std::shared_ptr<QVTLV8Packet> QVIPTLV8PayloadMessage::tlv8Payload() {
  if (cachedTLV8Packet_ != nullptr) return cachedTLV8Packet_;
  const auto contentType = tlv8MIMEType();
  if (contentType && !checkContentType(*contentType)) return nullptr;
  decodeBody();
  validateFields();
  return cachedTLV8Packet_;
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

void QVIPTLV8PayloadMessage::validateFields() {
  const auto definition = tlv8Definition();
  const auto transformer = std::dynamic_pointer_cast<const QVTLV8Transformer>(
      QVTransformer::transformerForTransport(QVTransport::ip, QVFormatType::tlv8));
  if (definition == nullptr || transformer == nullptr) return;
  auto found = transformer->firstFault(*cachedTLV8Packet_, *definition);
  if (!found) return;
  const auto fields = cachedTLV8Packet_->fields();
  QVMessageFault fault{.rule = found->rule,
                       .text = std::move(found->text),
                       .part = QVMessagePart::body,
                       .range = rangeOf((*fields)[found->fieldIndex]),
                       .expected = std::move(found->expected),
                       .actual = std::move(found->actual),
                       .tlv8Path = pathOf(*fields, found->fieldIndex),
                       .definition = definition};
  if (found->definition != nullptr) fault.definition = std::move(found->definition);
  if (errorDescription()) {
    keepFault(std::move(fault));
  } else {
    setFault(std::move(fault));
  }
}

std::shared_ptr<QVTLV8XMLObject> QVIPPairingMessage::tlv8Definition() const {
  return QVSymbolTable::sharedSymbolTable().findTLV8(kPairingDefinition);
}

std::optional<std::string> QVIPPairingMessage::tlv8MIMEType() const {
  return "application/pairing+tlv8";
}

}  // namespace qv
