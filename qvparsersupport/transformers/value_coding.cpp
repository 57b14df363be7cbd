#include "qvparsersupport/transformers/value_coding.h"

#include <array>
#include <bit>

#include "qvparsersupport/common/utf8.h"

namespace qv {

namespace {

struct PrimitiveRow {
  QVFormatType format;
  std::size_t width;  // 0: depends on the value
};

// By code.
constexpr PrimitiveRow kPrimitives[] = {
    {QVFormatType::integer, 0}, {QVFormatType::uint8, 1},  {QVFormatType::uint16, 2},
    {QVFormatType::uint32, 4},  {QVFormatType::uint64, 8}, {QVFormatType::floatingPoint, 4},
    {QVFormatType::boolean, 1},
};

std::size_t widthOf(Primitive type) {
  return kPrimitives[static_cast<std::size_t>(type)].width;
}

std::uint64_t littleEndianBits(ByteView bytes) {
  std::uint64_t bits = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) bits = bits << 8 | bytes[i];
  return bits;
}

}  // namespace

std::optional<Number> requireNumber(const std::optional<Value>& value, ErrorSlot errorDescription) {
  if (!value || !value->isNumber()) return fail(errorDescription, "Value is not a number.");
  return value->asNumber();
}

std::optional<Value> requireRawData(const std::optional<Value>& value, ErrorSlot errorDescription) {
  if (!value || !value->isBytes()) return fail(errorDescription, "Value is not raw data.");
  return value;
}

std::optional<ByteView> requireEncodedBytes(const std::optional<Value>& value,
                                            ErrorSlot errorDescription) {
  if (!value) return ByteView();
  if (!requireRawData(value, errorDescription)) return std::nullopt;
  return value->asBytes();
}

QVFormatType formatOfPrimitive(std::uint8_t code, Primitive last) {
  return code <= static_cast<std::uint8_t>(last) ? kPrimitives[code].format : QVFormatType::none;
}

Failure failInvalidPrimitive(ErrorSlot errorDescription) {
  return fail(errorDescription, "Invalid primitive type in transformer.");
}

Value littleEndianBytes(std::uint64_t bits, std::size_t width) {
  std::array<std::uint8_t, sizeof bits> bytes;
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(bits);
    bits >>= 8;
  }
  return Value::bytes(ByteView(bytes).first(width));
}

Value encodedFixedWidth(Primitive type, const Number& number) {
  const std::uint64_t bits = type == Primitive::singleFloat
                                 ? std::bit_cast<std::uint32_t>(number.floatValue())
                                 : number.integerValue<std::uint64_t>();
  return littleEndianBytes(bits, widthOf(type));
}

std::optional<Number> decodedSigned(ByteView bytes) {
  const std::uint64_t bits = bytes.size() <= sizeof bits ? littleEndianBits(bytes) : 0;
  switch (bytes.size()) {
    case 1:
      return Number::int8(static_cast<std::int8_t>(bits));
    case 2:
      return Number::int16(static_cast<std::int16_t>(bits));
    case 4:
      return Number::int32(static_cast<std::int32_t>(bits));
    case 8:
      return Number::int64(static_cast<std::int64_t>(bits));
    default:
      return std::nullopt;
  }
}

std::optional<Number> decodedUnsigned(Primitive type, ByteView bytes) {
  if (bytes.size() != widthOf(type)) return std::nullopt;
  const std::uint64_t bits = littleEndianBits(bytes);
  switch (type) {
    case Primitive::uint8:
      return Number::uint8(static_cast<std::uint8_t>(bits));
    case Primitive::uint16:
      return Number::uint16(static_cast<std::uint16_t>(bits));
    case Primitive::uint32:
      return Number::uint32(static_cast<std::uint32_t>(bits));
    default:
      return Number::uint64(bits);
  }
}

std::optional<Value> decodedFloat(ByteView bytes, ErrorSlot errorDescription) {
  if (bytes.size() != widthOf(Primitive::singleFloat)) {
    return fail(errorDescription, "Invalid number of bytes provided for float.");
  }
  const auto bits = static_cast<std::uint32_t>(littleEndianBits(bytes));
  return Number::float32(std::bit_cast<float>(bits));
}

std::optional<Value> encodedText(const std::optional<Value>& value, ErrorSlot errorDescription) {
  if (!value || !value->isString()) {
    return fail(errorDescription, "Value cannot be encoded to a string.");
  }
  const ByteView bytes = bytesOf(*value->asString());
  if (!isValidUTF8(bytes)) return fail(errorDescription, "Failed to UTF-8 encode value.");
  return Value::bytes(bytes);
}

std::optional<Value> decodedText(ByteView bytes, ErrorSlot errorDescription) {
  if (!isValidUTF8(bytes)) return fail(errorDescription, "Failed to interpret UTF-8 data.");
  return Value::string(textOf(bytes));
}

}  // namespace qv
