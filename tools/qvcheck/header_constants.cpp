#include "tools/qvcheck/header_constants.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

#include "qvparsersupport/vocabulary/format_strings.h"
#include "tools/qvcheck/source_names.h"

namespace qv::check {

namespace {

struct IntegerType {
  QVFormatType format;
  std::string_view name;
  std::int64_t minimum;
  std::uint64_t maximum;
};

constexpr IntegerType kIntegerTypes[] = {
    {QVFormatType::boolean, "bool", 0, 1},
    {QVFormatType::integer, "std::int64_t", INT64_MIN, INT64_MAX},
    {QVFormatType::uint8, "std::uint8_t", 0, UINT8_MAX},
    {QVFormatType::uint16, "std::uint16_t", 0, UINT16_MAX},
    {QVFormatType::uint32, "std::uint32_t", 0, UINT32_MAX},
    {QVFormatType::uint64, "std::uint64_t", 0, UINT64_MAX},
};

constexpr std::string_view kEnumerators[] = {
    "none",          "boolean", "integer", "uint8", "uint16", "uint32", "uint64",
    "floatingPoint", "string",  "date",    "tlv8",  "data",   "array",  "dictionary"};

std::string integerLiteral(const Number& number) {
  const std::string digits = number.text();
  // The smallest integer has no literal of its own.
  if (digits == "-9223372036854775808") return "-9223372036854775807 - 1";
  return number.int64Value() < 0 && digits.front() != '-' ? digits + "U" : digits;
}

std::optional<Constant> floatConstant(const Number& number) {
  if (!std::isfinite(number.doubleValue())) return std::nullopt;
  const bool single = number.kind() == NumericKind::singleFloat;
  std::string digits = number.text();
  if (digits.find_first_of(".e") == std::string::npos) digits += ".0";
  return Constant{single ? "float" : "double", digits + (single ? "F" : ""), ""};
}

// An integer of the format's type when it fits.
Constant integerConstant(const Number& number, QVFormatType format) {
  const bool isNegative = number.text().front() == '-';
  const auto* type =
      std::find_if(std::begin(kIntegerTypes), std::end(kIntegerTypes),
                   [&](const IntegerType& candidate) { return candidate.format == format; });
  if (type != std::end(kIntegerTypes)) {
    const bool fits =
        isNegative ? number.int64Value() >= type->minimum : number.uint64Value() <= type->maximum;
    if (fits) {
      const std::string literal = type->format == QVFormatType::boolean
                                      ? (number.boolValue() ? "true" : "false")
                                      : integerLiteral(number);
      return {std::string(type->name), literal, ""};
    }
  }
  const bool isWide = !isNegative && number.int64Value() < 0;
  return {isWide ? "std::uint64_t" : "std::int64_t", integerLiteral(number),
          "does not fit " + nameOf(format)};
}

}  // namespace

std::optional<Constant> numberConstant(const Number& number, QVFormatType format) {
  const bool isFloat = number.isFloatKind();
  if (!isFloat && format != QVFormatType::floatingPoint) return integerConstant(number, format);
  if (!isFloat) return floatConstant(Number::float64(number.doubleValue()));
  // An instance may have an integer format and inherit a limit of its parent's format float.
  const std::int64_t whole = saturatingInt64(number.doubleValue());
  if (format != QVFormatType::floatingPoint && Number::int64(whole) == number) {
    return integerConstant(Number::int64(whole), format);
  }
  auto constant = floatConstant(number);
  if (constant && format != QVFormatType::floatingPoint) {
    constant->remark = "does not fit " + nameOf(format);
  }
  return constant;
}

std::optional<Constant> valueConstant(const Value& value, QVFormatType format) {
  if (const auto number = value.asNumber()) return numberConstant(*number, format);
  if (const auto text = value.asString()) {
    return Constant{"std::string_view", viewInitializer(*text), ""};
  }
  return std::nullopt;
}

std::string_view enumeratorOf(QVFormatType format) {
  const auto index = static_cast<std::uint64_t>(format);
  return index < std::size(kEnumerators) ? kEnumerators[index] : kEnumerators[0];
}

std::string nameOf(QVFormatType format) {
  return std::string(QVFormatStrings::stringForFormatType(format).value_or("no format"));
}

}  // namespace qv::check
