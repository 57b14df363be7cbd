#pragma once

#include <cstdint>
#include <string>

#include "qvparsersupport/common/export.h"

namespace qv {

// The kind a number was made with. The letters are those of the C type encodings.
enum class NumericKind : char {
  signedChar = 'c',
  signedShort = 's',
  signedInt = 'i',
  signedLong = 'l',
  signedLongLong = 'q',
  unsignedChar = 'C',
  unsignedShort = 'S',
  unsignedInt = 'I',
  unsignedLong = 'L',
  unsignedLongLong = 'Q',
  singleFloat = 'f',
  doubleFloat = 'd',
};

// The integer nearest to a double after its fraction is cut off: saturates at the ends of the
// 64-bit range, NaN gives 0. The only conversion from floating point to integer in the library.
QV_EXPORT std::int64_t saturatingInt64(double value);
QV_EXPORT std::uint64_t saturatingUInt64(double value);

// An immutable number that remembers its kind. Equality is by numeric value across kinds and exact,
// 64-bit integers against doubles included (2^53 + 1 differs from 9007199254740992.0); NaN equals
// nothing.
class QV_EXPORT Number {
 public:
  // A number made from a boolean has the char kind and the value 1 or 0.
  static Number boolean(bool value) { return int8(value ? 1 : 0); }
  static Number int8(std::int8_t value) { return ofSigned(NumericKind::signedChar, value); }
  static Number int16(std::int16_t value) { return ofSigned(NumericKind::signedShort, value); }
  static Number int32(std::int32_t value) { return ofSigned(NumericKind::signedInt, value); }
  // The long long kind, the one that text and JSON readings give.
  static Number int64(std::int64_t value) { return ofSigned(NumericKind::signedLongLong, value); }
  static Number signedLong(long value) { return ofSigned(NumericKind::signedLong, value); }
  static Number uint8(std::uint8_t value) { return ofUnsigned(NumericKind::unsignedChar, value); }
  static Number uint16(std::uint16_t value) {
    return ofUnsigned(NumericKind::unsignedShort, value);
  }
  static Number uint32(std::uint32_t value) { return ofUnsigned(NumericKind::unsignedInt, value); }
  static Number uint64(std::uint64_t value) {
    return ofUnsigned(NumericKind::unsignedLongLong, value);
  }
  static Number unsignedLong(unsigned long value) {
    return ofUnsigned(NumericKind::unsignedLong, value);
  }
  static Number float32(float value);
  static Number float64(double value);

  NumericKind kind() const { return kind_; }

  // c, s, i, q, C, S, I, Q. Deliberate: long and unsigned long belong to neither group.
  bool isIntegerKind() const;
  // f and d.
  bool isFloatKind() const;

  // Readings never fail: integers keep their low bits, floats are cut off and saturate at 64 bits.
  std::int64_t int64Value() const;
  std::uint64_t uint64Value() const;
  template <class Integer>
  Integer integerValue() const {
    return static_cast<Integer>(uint64Bits());
  }
  double doubleValue() const;
  float floatValue() const;
  bool boolValue() const;

  // Decimal digits for integers, the shortest text that reads back the same for floats.
  std::string text() const;

  friend QV_EXPORT bool operator==(const Number& left, const Number& right);

 private:
  friend class Value;
  friend class ValueBuilder;
  static Number ofSigned(NumericKind kind, std::int64_t value);
  static Number ofUnsigned(NumericKind kind, std::uint64_t value);
  bool isSignedInteger() const;
  bool holdsFloat() const {
    return kind_ == NumericKind::singleFloat || kind_ == NumericKind::doubleFloat;
  }
  std::uint64_t uint64Bits() const;

  NumericKind kind_ = NumericKind::signedLongLong;
  std::uint64_t bits_ = 0;  // two's complement of an integer, or the bits of a double
};

}  // namespace qv
