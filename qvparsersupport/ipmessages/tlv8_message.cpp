#include "qvparsersupport/ipmessages/tlv8_message.h"

#include <fmt/format.h>

#include <algorithm>

#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/transformers/tlv8_transformers.h"

namespace qv {

namespace {

constexpr const char* kPairingDefinition = "Pairing";
constexpr const char* kContentType = "Content-Type";

// Sets what was found, and where, for a message that has no field of exactly that name: the first
// field that differs in letter case only, which a reader would easily take for it.
void describeMissingContentType(const QVHTTPMessage& message, QVMessageFault& fault) {
  fault.actual = fmt::format("no {}", kContentType);
  const auto& fields = message.headerFields();
  const std::string wanted = lowercased(kContentType);
  for (std::size_t i = 0; fields && i < fields->size(); ++i) {
    const std::string_view name = (*fields)[i].name;
    if (name.size() != wanted.size() || lowercased(name) != wanted) continue;
    fault.actual = fmt::format("no {} but {}; the letter case counts", kContentType, name);
    fault.range = fields->rangeOf(i);
    return;
  }
}

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
  if (!checkContentType()) return nullptr;
  decodeBody();
  validateFields();
  return cachedTLV8Packet_;
}

bool QVIPTLV8PayloadMessage::checkContentType() {
  const auto expected = tlv8MIMEType();
  const auto actual = httpMessageOrEmpty().contentType();
  if (!expected || actual == expected) return true;
  QVMessageFault fault{
      .rule = "http.content-type",
      .text = fmt::format("Invalid HTTP content type. Expected \"{}\".", *expected),
      .part = QVMessagePart::header,
      .range = httpMessageOrEmpty().valueRangeForKey(kContentType),
      .expected = *expected};
  if (actual) {
    fault.actual = *actual;
  } else {
    describeMissingContentType(httpMessageOrEmpty(), fault);
  }
  setFault(std::move(fault));
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
  const QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  if (!table.loadInProgress()) return table.tlv8WithName(kPairingDefinition);
  // A host asks in the midst of a load, when a lookup that finds nothing would raise.
  const auto known = table.tlv8s();
  if (known == nullptr) return nullptr;
  const auto match = std::ranges::find_if(*known, [](const auto& tlv8) {
    return tlv8 != nullptr && tlv8->name() == kPairingDefinition;
  });
  return match == known->end() ? nullptr : *match;
}

std::optional<std::string> QVIPPairingMessage::tlv8MIMEType() const {
  return "application/pairing+tlv8";
}

}  // namespace qv
