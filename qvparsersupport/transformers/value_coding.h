#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/number.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

// What the transformer families have in common: demands on the kind of a value, and the byte forms
// of numbers and texts. All numbers are little-endian.

// Each answers null with its text when the value is of another kind; "no value at all" is of none.
std::optional<Number> requireNumber(const std::optional<Value>& value, ErrorSlot errorDescription);
std::optional<Value> requireRawData(const std::optional<Value>& value, ErrorSlot errorDescription);
// The bytes to be decoded; no value at all reads as no bytes, which is how a field without a value
// is written.
std::optional<ByteView> requireEncodedBytes(const std::optional<Value>& value,
                                            ErrorSlot errorDescription);

// The codes of `primitiveType`; `boolean` is not known to TLV8 fields.
enum class Primitive : std::uint8_t {
  integer = 0,
  uint8 = 1,
  uint16 = 2,
  uint32 = 3,
  uint64 = 4,
  singleFloat = 5,
  boolean = 6,
};

// The format that a code serves; none for a code above `last`.
QVFormatType formatOfPrimitive(std::uint8_t code, Primitive last);
Failure failInvalidPrimitive(ErrorSlot errorDescription);

// The low `width` bytes of the number.
Value littleEndianBytes(std::uint64_t bits, std::size_t width);
// For the types from `uint8` to `singleFloat`. Values that are too wide are cut off silently.
Value encodedFixedWidth(Primitive type, const Number& number);
// The signed number of 1, 2, 4 or 8 bytes, of the kind of that width; null for other lengths.
std::optional<Number> decodedSigned(ByteView bytes);
// For the types from `uint8` to `uint64`; null when the length is not that of the type.
std::optional<Number> decodedUnsigned(Primitive type, ByteView bytes);
std::optional<Value> decodedFloat(ByteView bytes, ErrorSlot errorDescription);

// UTF-8, without terminator.
std::optional<Value> encodedText(const std::optional<Value>& value, ErrorSlot errorDescription);
std::optional<Value> decodedText(ByteView bytes, ErrorSlot errorDescription);

}  // namespace qv
