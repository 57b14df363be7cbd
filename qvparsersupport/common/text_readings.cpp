#include "qvparsersupport/common/text_readings.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <system_error>

namespace qv {

namespace {

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view withoutLeadingBlanks(std::string_view text) {
  std::size_t start = 0;
  while (start < text.size() && isBlank(text[start])) ++start;
  return text.substr(start);
}

// Takes one sign off the front; true when it was a minus.
bool takeSign(std::string_view& text) {
  if (text.empty() || (text[0] != '-' && text[0] != '+')) return false;
  const bool negative = text[0] == '-';
  text.remove_prefix(1);
  return negative;
}

// Length of "digits[.digits][e[sign]digits]" at the front of the text; 0 when there is no digit in
// front of the exponent. `magnitude` and `mantissaIsZero` tell which way an unrepresentable number
// lies.
struct DecimalForm {
  std::size_t length = 0;
  bool mantissaIsZero = true;
  std::int64_t magnitude = 0;  // digits in front of the point once the exponent has moved it
};

DecimalForm decimalForm(std::string_view text) {
  DecimalForm form;
  std::size_t at = 0;
  std::size_t digits = 0;
  const auto run = [&](bool integerPart) {
    for (; at < text.size() && isDigit(text[at]); ++at, ++digits) {
      if (text[at] != '0') form.mantissaIsZero = false;
      if (integerPart && !form.mantissaIsZero) ++form.magnitude;
      if (!integerPart && form.mantissaIsZero) --form.magnitude;
    }
  };
  run(true);
  if (at < text.size() && text[at] == '.') {
    ++at;
    run(false);
  }
  if (digits == 0) return form;
  form.length = at;
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    std::size_t exponent = at + 1;
    if (exponent < text.size() && (text[exponent] == '-' || text[exponent] == '+')) ++exponent;
    const std::size_t firstDigit = exponent;
    while (exponent < text.size() && isDigit(text[exponent])) ++exponent;
    if (exponent > firstDigit) {
      form.length = exponent;
      // Halved limits leave room for the digits.
      constexpr std::int64_t kLimit = std::numeric_limits<std::int64_t>::max() / 2;
      form.magnitude += std::clamp(integerReading(text.substr(at + 1)), -kLimit, kLimit);
    }
  }
  return form;
}

template <class Float>
Float floatingReading(std::string_view text) {
  text = withoutLeadingBlanks(text);
  const bool negative = takeSign(text);
  const DecimalForm form = decimalForm(text);
  if (form.length == 0) return 0;
  Float value = 0;
  const auto result = std::from_chars(text.data(), text.data() + form.length, value);
  if (result.ec == std::errc::result_out_of_range && !form.mantissaIsZero) {
    value = form.magnitude > 0 ? std::numeric_limits<Float>::max() : Float{0};
  }
  return negative ? -value : value;
}

}  // namespace

std::int64_t integerReading(std::string_view text) {
  text = withoutLeadingBlanks(text);
  const bool negative = takeSign(text);
  const std::uint64_t limit = negative ? std::uint64_t{1} << 63 : (std::uint64_t{1} << 63) - 1;
  std::uint64_t magnitude = 0;
  for (const char c : text) {
    if (!isDigit(c)) break;
    const auto digit = static_cast<std::uint64_t>(c - '0');
    if (magnitude > (limit - digit) / 10) {
      magnitude = limit;
      break;
    }
    magnitude = magnitude * 10 + digit;
  }
  return static_cast<std::int64_t>(negative ? ~magnitude + 1 : magnitude);
}

double doubleReading(std::string_view text) {
  return floatingReading<double>(text);
}

float floatReading(std::string_view text) {
  return floatingReading<float>(text);
}

bool decimalIsBelowOne(std::string_view text) {
  const DecimalForm form = decimalForm(text);
  return form.mantissaIsZero || form.magnitude <= 0;
}

bool booleanReading(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() &&
         (isBlank(text[at]) || text[at] == '+' || text[at] == '-' || text[at] == '0')) {
    ++at;
  }
  if (at == text.size()) return false;
  const char c = text[at];
  return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

bool holdsOnlyDecimalDigits(std::string_view text) {
  for (const char c : text) {
    if (!isDigit(c)) return false;
  }
  return true;
}

std::optional<std::uint32_t> hexadecimalReading(std::string_view text) {
  text = withoutLeadingBlanks(text);
  if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
    text.remove_prefix(2);
  std::uint32_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (result.ec == std::errc::result_out_of_range) return std::numeric_limits<std::uint32_t>::max();
  if (result.ec != std::errc()) return std::nullopt;
  return value;
}

}  // namespace qv
