#include "qvparsersupport/transformers/tlv8_transformers.h"

#include <fmt/format.h>

#include "qvparsersupport/common/base64.h"

namespace qv {

std::shared_ptr<QVTLV8Transformer> QVTLV8Transformer::initWithTransport(QVTransport transport) {
  return std::make_shared<QVTLV8Transformer>(transport);
}

QVTransformerList QVTLV8Transformer::sharedInstances() {
  return {initWithTransport(QVTransport::btle), initWithTransport(QVTransport::ip)};
}

std::optional<Value> QVTLV8Transformer::transformValue(const std::optional<Value>& value,
                                                       ErrorSlot errorDescription) const {
  if (!value) return Value();
  if (value->isBytes()) return value;
  const std::shared_ptr<ValueObject> object = value->asObject();
  std::optional<Bytes> data;
  if (const auto* builder = dynamic_cast<const QVTLV8MutablePacket*>(object.get())) {
    data = builder->dataUsingAutomaticFieldCoalescing(false, errorDescription);
  } else if (const auto* packet = dynamic_cast<const QVTLV8Packet*>(object.get())) {
    data = packet->data();
  } else {
    return fail(errorDescription, "Value is not a TLV8.");
  }
  if (!data) return std::nullopt;
  return Value::bytes(*data);
}

std::optional<Value> QVTLV8Transformer::reverseTransformValue(const std::optional<Value>& value,
                                                              ErrorSlot errorDescription) const {
  if (!value) return std::nullopt;
  Bytes decoded;
  std::optional<ByteView> bytes = value->asBytes();
  if (const auto text = value->asString()) {
    std::optional<Bytes> fromText = base64Decoded(*text);
    if (!fromText) return std::nullopt;
    decoded = *std::move(fromText);
    bytes = decoded;
  }
  if (!bytes) return std::nullopt;
  const auto packet = QVTLV8Packet::initWithData(*bytes);
  if (packet->errorDescription()) fail(errorDescription, *packet->errorDescription());
  return Value::object(packet);
}

bool QVTLV8Transformer::validateValue(const std::optional<Value>& value,
                                      const QVCharacteristicXMLObject& characteristic,
                                      ErrorSlot errorDescription) const {
  std::shared_ptr<QVTLV8Packet> packet;
  if (value && value->isBytes()) {
    packet = QVTLV8Packet::initWithData(*value->asBytes());
    if (packet->errorDescription()) {
      return fail(errorDescription,
                  fmt::format("Error parsing TLV8 data: {}", *packet->errorDescription()));
    }
  } else if (value) {
    packet = std::dynamic_pointer_cast<QVTLV8Packet>(value->asObject());
  }
  if (packet == nullptr) return fail(errorDescription, "Value is not a TLV8 packet.");
  if (characteristic.format() != QVFormatType::tlv8) {
    return fail(errorDescription, "Provided TLV8 but characteristic does not accept TLV8s.");
  }
  static const QVTLV8XMLObject& withoutFields = *new QVTLV8XMLObject();
  const std::shared_ptr<QVTLV8XMLObject> definition = characteristic.tlv8Definition();
  return validateValue(*packet, definition != nullptr ? *definition : withoutFields,
                       errorDescription);
}

bool QVTLV8Transformer::validateValue(const QVTLV8Packet& packet,
                                      const QVTLV8XMLObject& tlv8Definition,
                                      ErrorSlot errorDescription) const {
  std::optional<QVTLV8Fault> fault = firstFault(packet, tlv8Definition);
  if (fault) return fail(errorDescription, std::move(fault->text));
  return true;
}

bool QVTLV8Transformer::validateValue(const std::optional<Value>& value,
                                      const QVTLV8FieldXMLObject& tlv8Field,
                                      ErrorSlot errorDescription) const {
  std::optional<QVTLV8Fault> fault = faultOfFieldValue(value, tlv8Field);
  if (fault) return fail(errorDescription, std::move(fault->text));
  return true;
}

}  // namespace qv
