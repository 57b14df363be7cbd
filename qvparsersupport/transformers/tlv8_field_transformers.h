#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "qvparsersupport/transformers/tlv8_transformers.h"

namespace qv {

// The transformers of the value of one field inside a TLV8 packet, registered under the pseudo
// transport `tlv8`; little-endian throughout. Decoders take a byte buffer; no value at all reads as
// no bytes, and any other value fails as not being raw data. Where a contract says that the value
// is answered as it is, that holds for every value.

// A nested packet, which stays bytes: encoding demands a byte buffer, decoding answers the value as
// it is.
class QV_EXPORT QVTLV8TLV8Transformer : public QVTLV8Transformer {
 public:
  QVTLV8TLV8Transformer() : QVTLV8Transformer(QVTransport::tlv8) {}
  static QVTransformerList sharedInstances();
  std::optional<Value> transformValue(const std::optional<Value>& value,
                                      ErrorSlot errorDescription = nullptr) const override;
  std::optional<Value> reverseTransformValue(const std::optional<Value>& value,
                                             ErrorSlot errorDescription = nullptr) const override;
};

// Encoding demands a byte buffer, decoding answers the value as it is.
class QV_EXPORT QVTLV8DataTransformer : public QVTLV8Transformer {
 public:
  QVTLV8DataTransformer() : QVTLV8Transformer(QVTransport::tlv8) {}
  static QVTransformerList sharedInstances();
  QVFormatType format() const override { return QVFormatType::data; }
  std::optional<Value> transformValue(const std::optional<Value>& value,
                                      ErrorSlot errorDescription = nullptr) const override;
  std::optional<Value> reverseTransformValue(const std::optional<Value>& value,
                                             ErrorSlot errorDescription = nullptr) const override;
};

// UTF-8 without terminator. Deliberate: text with U+0000 in it decodes to the text without these
// characters and an error text; bytes that are not UTF-8 give null and the same text.
class QV_EXPORT QVTLV8StringTransformer : public QVTLV8Transformer {
 public:
  QVTLV8StringTransformer() : QVTLV8Transformer(QVTransport::tlv8) {}
  static QVTransformerList sharedInstances();
  QVFormatType format() const override { return QVFormatType::string; }
  std::optional<Value> transformValue(const std::optional<Value>& value,
                                      ErrorSlot errorDescription = nullptr) const override;
  std::optional<Value> reverseTransformValue(const std::optional<Value>& value,
                                             ErrorSlot errorDescription = nullptr) const override;
};

// Primitive types: 0 int (1, 2, 4 or 8 bytes), 1 uint8, 2 uint16, 3 uint32, 4 uint64, 5 float.
// Values that are too wide are cut off silently. Any other code has no format and fails every
// transform. Deliberate: an int from 0 on encodes as its lowest byte only; the width of a negative
// one follows the kind of the number.
class QV_EXPORT QVTLV8PrimitiveTransformer : public QVTLV8Transformer {
 public:
  explicit QVTLV8PrimitiveTransformer(std::uint8_t primitiveType)
      : QVTLV8Transformer(QVTransport::tlv8), primitiveType_(primitiveType) {}
  static std::shared_ptr<QVTLV8PrimitiveTransformer> transformerWithTLV8Primitive(
      std::uint8_t primitiveType);
  static QVTransformerList sharedInstances();
  QVFormatType format() const override;
  std::uint8_t primitiveType() const { return primitiveType_; }
  std::optional<Value> transformValue(const std::optional<Value>& value,
                                      ErrorSlot errorDescription = nullptr) const override;
  std::optional<Value> reverseTransformValue(const std::optional<Value>& value,
                                             ErrorSlot errorDescription = nullptr) const override;

 private:
  std::uint8_t primitiveType_;
};

}  // namespace qv
