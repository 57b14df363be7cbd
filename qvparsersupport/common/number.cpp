#include "qvparsersupport/common/number.h"

#include <fmt/format.h>

#include <bit>
#include <cmath>
#include <limits>

namespace qv {

namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;

// True when the double is exactly the integer `magnitude` with the given sign.
bool equalsInteger(double value, bool negative, std::uint64_t magnitude) {
  if (!(std::trunc(value) == value)) return false;  // fractions, NaN
  if (std::signbit(value) != negative) return magnitude == 0 && value == 0;
  const double absolute = std::fabs(value);
  return absolute < kTwoTo64 && static_cast<std::uint64_t>(absolute) == magnitude;
}

}  // namespace

std::int64_t saturatingInt64(double value) {
  if (std::isnan(value)) return 0;
  if (value >= kTwoTo63) return std::numeric_limits<std::int64_t>::max();
  if (value < -kTwoTo63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

std::uint64_t saturatingUInt64(double value) {
  if (!(value > 0)) return 0;
  if (value >= kTwoTo64) return std::numeric_limits<std::uint64_t>::max();
  return static_cast<std::uint64_t>(value);
}

Number Number::ofSigned(NumericKind kind, std::int64_t value) {
  Number number;
  number.kind_ = kind;
  number.bits_ = static_cast<std::uint64_t>(value);
  return number;
}

Number Number::ofUnsigned(NumericKind kind, std::uint64_t value) {
  Number number;
  number.kind_ = kind;
  number.bits_ = value;
  return number;
}

Number Number::float32(float value) {
  return ofUnsigned(NumericKind::singleFloat,
                    std::bit_cast<std::uint64_t>(static_cast<double>(value)));
}

Number Number::float64(double value) {
  return ofUnsigned(NumericKind::doubleFloat, std::bit_cast<std::uint64_t>(value));
}

bool Number::isIntegerKind() const {
  return !holdsFloat() && kind_ != NumericKind::signedLong && kind_ != NumericKind::unsignedLong;
}

bool Number::isFloatKind() const {
  return holdsFloat();
}

bool Number::isSignedInteger() const {
  switch (kind_) {
    case NumericKind::signedChar:
    case NumericKind::signedShort:
    case NumericKind::signedInt:
    case NumericKind::signedLong:
    case NumericKind::signedLongLong:
      return true;
    default:
      return false;
  }
}

std::int64_t Number::int64Value() const {
  if (holdsFloat()) return saturatingInt64(std::bit_cast<double>(bits_));
  return static_cast<std::int64_t>(bits_);
}

std::uint64_t Number::uint64Value() const {
  if (holdsFloat()) return saturatingUInt64(std::bit_cast<double>(bits_));
  return bits_;
}

std::uint64_t Number::uint64Bits() const {
  if (!holdsFloat()) return bits_;
  const double value = std::bit_cast<double>(bits_);
  return value < 0 ? static_cast<std::uint64_t>(saturatingInt64(value)) : saturatingUInt64(value);
}

double Number::doubleValue() const {
  if (holdsFloat()) return std::bit_cast<double>(bits_);
  if (isSignedInteger()) return static_cast<double>(static_cast<std::int64_t>(bits_));
  return static_cast<double>(bits_);
}

float Number::floatValue() const {
  if (!holdsFloat()) {
    return isSignedInteger() ? static_cast<float>(static_cast<std::int64_t>(bits_))
                             : static_cast<float>(bits_);
  }
  // Beyond the range of float the result is an infinity; spelled out because the plain cast is
  // undefined there.
  const double value = std::bit_cast<double>(bits_);
  constexpr double kMax = std::numeric_limits<float>::max();
  // Half a unit in the last place above the maximum still rounds down to it.
  constexpr double kRoundsToInfinity = kMax + 0x1p103;
  if (std::fabs(value) > kMax && !std::isinf(value)) {
    const float magnitude = std::fabs(value) >= kRoundsToInfinity
                                ? std::numeric_limits<float>::infinity()
                                : std::numeric_limits<float>::max();
    return std::signbit(value) ? -magnitude : magnitude;
  }
  return static_cast<float>(value);
}

bool Number::boolValue() const {
  return holdsFloat() ? std::bit_cast<double>(bits_) != 0 : bits_ != 0;
}

std::string Number::text() const {
  if (kind_ == NumericKind::singleFloat) return fmt::format("{}", floatValue());
  if (holdsFloat()) return fmt::format("{}", doubleValue());
  if (isSignedInteger()) return fmt::format("{}", static_cast<std::int64_t>(bits_));
  return fmt::format("{}", bits_);
}

bool operator==(const Number& left, const Number& right) {
  if (left.holdsFloat() && right.holdsFloat()) return left.doubleValue() == right.doubleValue();
  if (left.holdsFloat()) return right == left;
  const bool leftNegative = left.isSignedInteger() && static_cast<std::int64_t>(left.bits_) < 0;
  if (right.holdsFloat()) {
    const std::uint64_t magnitude = leftNegative ? ~left.bits_ + 1 : left.bits_;
    return equalsInteger(right.doubleValue(), leftNegative, magnitude);
  }
  const bool rightNegative = right.isSignedInteger() && static_cast<std::int64_t>(right.bits_) < 0;
  return leftNegative == rightNegative && left.bits_ == right.bits_;
}

}  // namespace qv
