#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/tlv8/tlv8_packet.h"
#include "qvparsersupport/transformers/transformer.h"

namespace qv {

// What is wrong with one field of a packet.
struct QVTLV8Fault {
  // The text that the validation answers.
  std::string text;
  // "tlv8.unknown-field", "tlv8.unknown-format", "tlv8.field-value" (does not decode),
  // "tlv8.field-encoding", "tlv8.field-length" or "tlv8.field-enum".
  std::string_view rule;
  std::size_t fieldIndex = 0;  // within the packet's `fields`
  // Null when the field is unknown.
  std::shared_ptr<const QVTLV8FieldXMLObject> definition;
  // What was asked for and what was found, in words for a person; empty when the text says it all.
  std::string expected;
  std::string actual;
};

// The transformer of whole TLV8 values on a transport, and the validation of packets field by field
// against a definition. A packet stands in a Value as a library object.
class QV_EXPORT QVTLV8Transformer : public QVTransformer {
 public:
  explicit QVTLV8Transformer(QVTransport transport) : transport_(transport) {}
  static std::shared_ptr<QVTLV8Transformer> initWithTransport(QVTransport transport);
  static QVTransformerList sharedInstances();

  QVTransport transport() const override { return transport_; }
  QVFormatType format() const override { return QVFormatType::tlv8; }

  // The bytes of a packet; bytes as they are; the null Value for no value at all. Deliberate: a
  // mutable packet that serialises clears the slot.
  std::optional<Value> transformValue(const std::optional<Value>& value,
                                      ErrorSlot errorDescription = nullptr) const override;
  // The packet that bytes or a base-64 string hold. Deliberate: after a malformed item both a
  // packet and a text; for anything that is not bytes or strict base-64 null without a text.
  std::optional<Value> reverseTransformValue(const std::optional<Value>& value,
                                             ErrorSlot errorDescription = nullptr) const override;

  // True for a packet, or bytes that parse into one, that conforms to the characteristic's
  // structure. A characteristic without a structure knows no field. Length and enum of the
  // characteristic are not looked at.
  bool validateValue(const std::optional<Value>& value,
                     const QVCharacteristicXMLObject& characteristic,
                     ErrorSlot errorDescription = nullptr) const override;
  // Every field on its own, up to the first bad one. Fields of the separator type 0xFF always pass;
  // missing and repeated fields are not looked for; nested structures are not entered.
  bool validateValue(const QVTLV8Packet& packet, const QVTLV8XMLObject& tlv8Definition,
                     ErrorSlot errorDescription = nullptr) const;
  // A decoded value of this transformer's field format against the field's limits.
  bool validateValue(const std::optional<Value>& value, const QVTLV8FieldXMLObject& tlv8Field,
                     ErrorSlot errorDescription = nullptr) const;

  // What the validation of a packet stops at; null when the packet conforms.
  std::optional<QVTLV8Fault> firstFault(const QVTLV8Packet& packet,
                                        const QVTLV8XMLObject& tlv8Definition) const;

 private:
  static std::optional<QVTLV8Fault> faultOfField(const QVTLV8Field& field,
                                                 const QVTLV8FieldXMLObject* definition);
  std::optional<QVTLV8Fault> faultOfFieldValue(const std::optional<Value>& value,
                                               const QVTLV8FieldXMLObject& definition) const;

  QVTransport transport_;
};

}  // namespace qv
