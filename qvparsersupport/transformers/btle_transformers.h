#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "qvparsersupport/transformers/transformer.h"

namespace qv {

// The transformers of raw byte strings, little-endian throughout. Encoders also take bytes that are
// encoded already, decode them and encode the result again, so that whatever is accepted comes out
// in one canonical form. Decoders take a byte buffer; no value at all reads as no bytes, and any
// other value fails as not being raw data.
class QV_EXPORT QVBTLETransformer : public QVTransformer {
 public:
  QVTransport transport() const override { return QVTransport::btle; }
  // A byte buffer is decoded first and has to decode without a text; limits then apply to the
  // encoding of the decoded value.
  bool validateValue(const std::optional<Value>& value,
                     const QVCharacteristicXMLObject& characteristic,
                     ErrorSlot errorDescription = nullptr) const override;
  static QVTransformerList sharedInstances() { return {}; }

 protected:
  // Replaces a byte buffer by what it decodes to; false when that fails.
  bool decodeEncodedInput(std::optional<Value>& value, ErrorSlot errorDescription) const;
};

// Primitive types: 0 int (the fewest of 1, 2, 4 or 8 bytes for values from 0 on, 8 bytes below;
// decoded as signed), 1 uint8, 2 uint16, 3 uint32, 4 uint64, 5 float, 6 bool. Values that are too
// wide are cut off silently. Any other code has no format and fails every transform.
class QV_EXPORT QVBTLEPrimitiveTransformer : public QVBTLETransformer {
 public:
  explicit QVBTLEPrimitiveTransformer(std::uint8_t primitiveType) : primitiveType_(primitiveType) {}
  static std::shared_ptr<QVBTLEPrimitiveTransformer> transformerWithBTLEPrimitive(
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

// UTF-8 without terminator; U+0000 is a character like any other.
class QV_EXPORT QVBTLEStringTransformer : public QVBTLETransformer {
 public:
  QVFormatType format() const override { return QVFormatType::string; }
  static QVTransformerList sharedInstances();
  std::optional<Value> transformValue(const std::optional<Value>& value,
                                      ErrorSlot errorDescription = nullptr) const override;
  std::optional<Value> reverseTransformValue(const std::optional<Value>& value,
                                             ErrorSlot errorDescription = nullptr) const override;
};

// Encoding demands a byte buffer, decoding answers whatever it is given.
class QV_EXPORT QVBTLEDataTransformer : public QVBTLETransformer {
 public:
  QVFormatType format() const override { return QVFormatType::data; }
  static QVTransformerList sharedInstances();
  std::optional<Value> transformValue(const std::optional<Value>& value,
                                      ErrorSlot errorDescription = nullptr) const override;
  std::optional<Value> reverseTransformValue(const std::optional<Value>& value,
                                             ErrorSlot errorDescription = nullptr) const override;
};

}  // namespace qv
