#include "qvparsersupport/transformers/tlv8_field_transformers.h"

#include <fmt/format.h>

#include <algorithm>

#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/transformers/value_coding.h"

namespace qv {

namespace {

constexpr Primitive kLastPrimitive = Primitive::singleFloat;

std::size_t widthOfNegative(NumericKind kind) {
  switch (kind) {
    case NumericKind::signedChar:
      return 1;
    case NumericKind::signedShort:
      return 2;
    case NumericKind::signedInt:
    case NumericKind::signedLong:
      return 4;
    default:
      return 8;
  }
}

// Deliberate: one byte, whatever the size, unless the number is negative.
Value encodedInteger(const Number& number) {
  const std::size_t width = number.int64Value() >= 0 ? 1 : widthOfNegative(number.kind());
  return littleEndianBytes(number.integerValue<std::uint64_t>(), width);
}

// Deliberate: an int is reported as unsigned, a uint16 and a uint32 as a uint64.
Failure failLength(ErrorSlot errorDescription, Primitive type, std::size_t length) {
  switch (type) {
    case Primitive::integer:
      return fail(errorDescription, fmt::format("Invalid length {} for unsigned integer", length));
    case Primitive::uint8:
      return fail(errorDescription, fmt::format("Invalid length {} for uint8", length));
    default:
      return fail(errorDescription, fmt::format("Invalid length {} for uint64", length));
  }
}

}  // namespace

QVTransformerList QVTLV8TLV8Transformer::sharedInstances() {
  return {std::make_shared<QVTLV8TLV8Transformer>()};
}

std::optional<Value> QVTLV8TLV8Transformer::transformValue(const std::optional<Value>& value,
                                                           ErrorSlot errorDescription) const {
  return requireRawData(value, errorDescription);
}

std::optional<Value> QVTLV8TLV8Transformer::reverseTransformValue(const std::optional<Value>& value,
                                                                  ErrorSlot) const {
  return value;
}

QVTransformerList QVTLV8DataTransformer::sharedInstances() {
  return {std::make_shared<QVTLV8DataTransformer>()};
}

std::optional<Value> QVTLV8DataTransformer::transformValue(const std::optional<Value>& value,
                                                           ErrorSlot errorDescription) const {
  return requireRawData(value, errorDescription);
}

std::optional<Value> QVTLV8DataTransformer::reverseTransformValue(const std::optional<Value>& value,
                                                                  ErrorSlot) const {
  return value;
}

QVTransformerList QVTLV8StringTransformer::sharedInstances() {
  return {std::make_shared<QVTLV8StringTransformer>()};
}

std::optional<Value> QVTLV8StringTransformer::transformValue(const std::optional<Value>& value,
                                                             ErrorSlot errorDescription) const {
  return encodedText(value, errorDescription);
}

std::optional<Value> QVTLV8StringTransformer::reverseTransformValue(
    const std::optional<Value>& value, ErrorSlot errorDescription) const {
  const std::optional<ByteView> bytes = requireEncodedBytes(value, errorDescription);
  if (!bytes) return std::nullopt;
  const bool isText = isValidUTF8(*bytes);
  if (!isText || std::find(bytes->begin(), bytes->end(), 0) != bytes->end()) {
    fail(errorDescription,
         "Reverse transform of data failed because string information contained null characters");
    if (!isText) return std::nullopt;
    std::string text(textOf(*bytes));
    std::erase(text, '\0');
    return Value::string(text);
  }
  // Deliberate: broken UTF-8 took the branch above, so the decoder's own text never shows here.
  return decodedText(*bytes, errorDescription);
}

std::shared_ptr<QVTLV8PrimitiveTransformer>
QVTLV8PrimitiveTransformer::transformerWithTLV8Primitive(std::uint8_t primitiveType) {
  return std::make_shared<QVTLV8PrimitiveTransformer>(primitiveType);
}

QVTransformerList QVTLV8PrimitiveTransformer::sharedInstances() {
  QVTransformerList list;
  for (std::uint8_t type = 0; type <= static_cast<std::uint8_t>(kLastPrimitive); ++type) {
    list.push_back(transformerWithTLV8Primitive(type));
  }
  return list;
}

QVFormatType QVTLV8PrimitiveTransformer::format() const {
  return formatOfPrimitive(primitiveType_, kLastPrimitive);
}

std::optional<Value> QVTLV8PrimitiveTransformer::transformValue(const std::optional<Value>& value,
                                                                ErrorSlot errorDescription) const {
  if (format() == QVFormatType::none) return failInvalidPrimitive(errorDescription);
  const std::optional<Number> number = requireNumber(value, errorDescription);
  if (!number) return std::nullopt;
  const auto type = static_cast<Primitive>(primitiveType_);
  return type == Primitive::integer ? encodedInteger(*number) : encodedFixedWidth(type, *number);
}

std::optional<Value> QVTLV8PrimitiveTransformer::reverseTransformValue(
    const std::optional<Value>& value, ErrorSlot errorDescription) const {
  if (format() == QVFormatType::none) return failInvalidPrimitive(errorDescription);
  const std::optional<ByteView> bytes = requireEncodedBytes(value, errorDescription);
  if (!bytes) return std::nullopt;
  const auto type = static_cast<Primitive>(primitiveType_);
  if (type == Primitive::singleFloat) return decodedFloat(*bytes, errorDescription);
  const std::optional<Number> number =
      type == Primitive::integer ? decodedSigned(*bytes) : decodedUnsigned(type, *bytes);
  if (number) return *number;
  return failLength(errorDescription, type, bytes->size());
}

}  // namespace qv
