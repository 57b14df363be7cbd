#include "qvparsersupport/common/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qv {
namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kMaxUnsigned = std::numeric_limits<std::uint64_t>::max();

TEST(Number, equalityIsByValueAcrossKindsAndExact) {
  struct Row {
    Number left, right;
    bool equal;
  } const rows[] = {
      {Number::boolean(true), Number::float64(1.0), true},
      {Number::int64(-1), Number::uint64(kMaxUnsigned), false},
      {Number::int64(kMax), Number::uint64(std::uint64_t{1} << 63), false},
      {Number::int8(-1), Number::int64(-1), true},
      {Number::uint64(std::uint64_t{1} << 63), Number::float64(0x1p63), true},
      {Number::int64(kMin), Number::float64(-0x1p63), true},
      {Number::int64(kMax), Number::float64(0x1p63), false},
      {Number::uint64(kMaxUnsigned), Number::float64(0x1p64), false},
      {Number::int64((std::int64_t{1} << 53) + 1), Number::float64(9007199254740992.0), false},
      {Number::int32(0), Number::float64(-0.0), true},
      {Number::uint8(1), Number::float64(1.5), false},
      {Number::float32(0.1F), Number::float64(0.1), false},
      {Number::float64(NAN), Number::float64(NAN), false},
      {Number::int64(0), Number::float64(NAN), false},
      {Number::int64(kMax), Number::float64(INFINITY), false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.left == row.right, row.equal) << row.left.text() << " and " << row.right.text();
    EXPECT_EQ(row.right == row.left, row.equal) << row.right.text() << " and " << row.left.text();
  }
}

TEST(Number, readingsTruncateIntegersAndSaturateFloats) {
  EXPECT_EQ(Number::int64(300).integerValue<std::uint8_t>(), 44);
  EXPECT_EQ(Number::int64(-1).uint64Value(), kMaxUnsigned);
  EXPECT_EQ(Number::uint64(kMaxUnsigned).int64Value(), -1);
  EXPECT_EQ(Number::float64(-2.9).int64Value(), -2);
  EXPECT_EQ(Number::float64(-2.9).integerValue<std::int16_t>(), -2);
  EXPECT_EQ(Number::float64(1e300).int64Value(), kMax);
  EXPECT_EQ(Number::float64(-1e300).int64Value(), kMin);
  EXPECT_EQ(Number::float64(1e300).uint64Value(), kMaxUnsigned);
  EXPECT_EQ(Number::float64(-5).uint64Value(), 0U);
  EXPECT_EQ(Number::float64(NAN).int64Value(), 0);
  EXPECT_EQ(Number::float64(1e300).floatValue(), INFINITY);
  EXPECT_EQ(Number::float64(-1e300).floatValue(), -INFINITY);
  EXPECT_EQ(Number::float64(std::numeric_limits<float>::max() * (1 + 1e-12)).floatValue(),
            std::numeric_limits<float>::max());
  EXPECT_TRUE(Number::float64(0.25).boolValue());
  EXPECT_FALSE(Number::float64(-0.0).boolValue());
}

TEST(Number, longKindsBelongToNeitherGroup) {
  EXPECT_FALSE(Number::signedLong(1).isIntegerKind());
  EXPECT_FALSE(Number::unsignedLong(1).isIntegerKind());
  EXPECT_FALSE(Number::signedLong(1).isFloatKind());
  EXPECT_TRUE(Number::int64(1).isIntegerKind());
  EXPECT_TRUE(Number::float32(1).isFloatKind());
}

TEST(Number, textForms) {
  EXPECT_EQ(Number::int64(kMin).text(), "-9223372036854775808");
  EXPECT_EQ(Number::uint64(kMaxUnsigned).text(), "18446744073709551615");
  EXPECT_EQ(Number::float32(0.1F).text(), "0.1");
  EXPECT_EQ(Number::float64(2.5).text(), "2.5");
}

}  // namespace
}  // namespace qv
