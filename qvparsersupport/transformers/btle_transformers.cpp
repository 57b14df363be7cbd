#include "qvparsersupport/transformers/btle_transformers.h"

#include <limits>
#include <utility>

#include "qvparsersupport/transformers/value_coding.h"

namespace qv {

namespace {

constexpr Primitive kLastPrimitive = Primitive::boolean;

Value encodedInteger(const Number& number) {
  const auto bits = number.integerValue<std::uint64_t>();
  if (number.int64Value() < 0) return littleEndianBytes(bits, 8);
  const std::size_t width = bits <= std::numeric_limits<std::uint8_t>::max()    ? 1
                            : bits <= std::numeric_limits<std::uint16_t>::max() ? 2
                            : bits <= std::numeric_limits<std::uint32_t>::max() ? 4
                                                                                : 8;
  return littleEndianBytes(bits, width);
}

std::optional<Value> numberOr(const std::optional<Number>& number, ErrorSlot errorDescription,
                              const char* text) {
  if (!number) return fail(errorDescription, text);
  return *number;
}

std::optional<Value> decodedBoolean(ByteView bytes, ErrorSlot errorDescription) {
  if (bytes.size() != 1) {
    return fail(errorDescription, "Invalid number of bytes provided for boolean.");
  }
  if (bytes[0] > 1) return fail(errorDescription, "Invalid boolean value.");
  return Number::boolean(bytes[0] == 1);
}

}  // namespace

bool QVBTLETransformer::validateValue(const std::optional<Value>& value,
                                      const QVCharacteristicXMLObject& characteristic,
                                      ErrorSlot errorDescription) const {
  std::optional<Value> decoded = value;
  std::optional<std::string> decodingError;
  const bool isDecoded = decodeEncodedInput(decoded, &decodingError);
  if (decodingError) return fail(errorDescription, *std::move(decodingError));
  return isDecoded && QVTransformer::validateValue(decoded, characteristic, errorDescription);
}

bool QVBTLETransformer::decodeEncodedInput(std::optional<Value>& value,
                                           ErrorSlot errorDescription) const {
  if (!value || !value->isBytes()) return true;
  value = reverseTransformValue(value, errorDescription);
  return value.has_value();
}

std::shared_ptr<QVBTLEPrimitiveTransformer>
QVBTLEPrimitiveTransformer::transformerWithBTLEPrimitive(std::uint8_t primitiveType) {
  return std::make_shared<QVBTLEPrimitiveTransformer>(primitiveType);
}

QVTransformerList QVBTLEPrimitiveTransformer::sharedInstances() {
  QVTransformerList list;
  for (std::uint8_t type = 0; type <= static_cast<std::uint8_t>(kLastPrimitive); ++type) {
    list.push_back(transformerWithBTLEPrimitive(type));
  }
  return list;
}

QVFormatType QVBTLEPrimitiveTransformer::format() const {
  return formatOfPrimitive(primitiveType_, kLastPrimitive);
}

std::optional<Value> QVBTLEPrimitiveTransformer::transformValue(const std::optional<Value>& value,
                                                                ErrorSlot errorDescription) const {
  if (format() == QVFormatType::none) return failInvalidPrimitive(errorDescription);
  std::optional<Value> input = value;
  if (!decodeEncodedInput(input, errorDescription)) return std::nullopt;
  const std::optional<Number> number = requireNumber(input, errorDescription);
  if (!number) return std::nullopt;
  const auto type = static_cast<Primitive>(primitiveType_);
  if (type == Primitive::integer) return encodedInteger(*number);
  if (type == Primitive::boolean) return littleEndianBytes(number->boolValue() ? 1 : 0, 1);
  return encodedFixedWidth(type, *number);
}

std::optional<Value> QVBTLEPrimitiveTransformer::reverseTransformValue(
    const std::optional<Value>& value, ErrorSlot errorDescription) const {
  if (format() == QVFormatType::none) return failInvalidPrimitive(errorDescription);
  const std::optional<ByteView> bytes = requireEncodedBytes(value, errorDescription);
  if (!bytes) return std::nullopt;
  const auto type = static_cast<Primitive>(primitiveType_);
  switch (type) {
    case Primitive::integer:
    case Primitive::uint8:
      // Deliberate: a wrong length of an int is reported as one of a uint8.
      return numberOr(
          type == Primitive::integer ? decodedSigned(*bytes) : decodedUnsigned(type, *bytes),
          errorDescription, "Invalid number of bytes provided for uint8.");
    case Primitive::uint16:
      return numberOr(decodedUnsigned(type, *bytes), errorDescription,
                      "Invalid number of bytes provided for uint16.");
    case Primitive::uint32:
      return numberOr(decodedUnsigned(type, *bytes), errorDescription,
                      "Invalid number of bytes provided for uint32.");
    case Primitive::uint64:
      return numberOr(decodedUnsigned(type, *bytes), errorDescription,
                      "Invalid number of bytes provided for uint64.");
    case Primitive::singleFloat:
      return decodedFloat(*bytes, errorDescription);
    case Primitive::boolean:
      return decodedBoolean(*bytes, errorDescription);
  }
  return failInvalidPrimitive(errorDescription);
}

QVTransformerList QVBTLEStringTransformer::sharedInstances() {
  return {std::make_shared<QVBTLEStringTransformer>()};
}

std::optional<Value> QVBTLEStringTransformer::transformValue(const std::optional<Value>& value,
                                                             ErrorSlot errorDescription) const {
  std::optional<Value> input = value;
  if (!decodeEncodedInput(input, errorDescription)) return std::nullopt;
  return encodedText(input, errorDescription);
}

std::optional<Value> QVBTLEStringTransformer::reverseTransformValue(
    const std::optional<Value>& value, ErrorSlot errorDescription) const {
  const std::optional<ByteView> bytes = requireEncodedBytes(value, errorDescription);
  if (!bytes) return std::nullopt;
  return decodedText(*bytes, errorDescription);
}

QVTransformerList QVBTLEDataTransformer::sharedInstances() {
  return {std::make_shared<QVBTLEDataTransformer>()};
}

std::optional<Value> QVBTLEDataTransformer::transformValue(const std::optional<Value>& value,
                                                           ErrorSlot errorDescription) const {
  return requireRawData(value, errorDescription);
}

std::optional<Value> QVBTLEDataTransformer::reverseTransformValue(const std::optional<Value>& value,
                                                                  ErrorSlot) const {
  return value;
}

}  // namespace qv
