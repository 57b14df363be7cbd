#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "qvparsersupport/common/export.h"

namespace qv {

// The readings of text that profiles use. None of them fails, allocates or looks at the locale;
// text that is no number reads as 0.

// Blanks (space, tab, line ends, vertical tab, form feed) are skipped, one sign is accepted, then
// decimal digits are read up to the first other character. Saturates at the ends of the 64-bit
// range.
QV_EXPORT std::int64_t integerReading(std::string_view text);

// The same for a decimal number with optional fraction and exponent. Beyond the range of double the
// result saturates at the largest finite magnitude; below it, at zero. "inf", "nan" and hexadecimal
// forms are no numbers and read as 0.
QV_EXPORT double doubleReading(std::string_view text);
QV_EXPORT float floatReading(std::string_view text);

// For an unsigned decimal number of which the magnitude is too far from 1 to be represented: true
// when it lies below. Looks at digits, point and exponent together, however long they are.
QV_EXPORT bool decimalIsBelowOne(std::string_view text);

// After blanks, signs and zeros, a first letter Y, y, T or t or a digit 1 to 9 reads true; anything
// else, the empty text included, reads false.
QV_EXPORT bool booleanReading(std::string_view text);

// True when every character is a decimal digit; the empty text qualifies.
QV_EXPORT bool holdsOnlyDecimalDigits(std::string_view text);

// An unsigned 32-bit number from hexadecimal digits, with or without a leading "0x" or "0X"; stops
// at the first other character, saturates, and is null when there is no digit. Blanks are skipped
// first.
QV_EXPORT std::optional<std::uint32_t> hexadecimalReading(std::string_view text);

}  // namespace qv
