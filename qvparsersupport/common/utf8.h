#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv {

// True when the bytes are well-formed UTF-8 (RFC 3629): no overlong form, no surrogate, nothing
// above U+10FFFF, nothing cut off.
QV_EXPORT bool isValidUTF8(ByteView bytes);

// Length of the well-formed sequence at the front of the bytes, of which there is at least one;
// 0 when there is no such sequence.
QV_EXPORT std::size_t utf8SequenceLength(ByteView bytes);

// The number of code points of valid UTF-8; in broken text every byte that does not continue a
// sequence counts as one.
QV_EXPORT std::size_t codePointCount(std::string_view text);

// Unicode simple case mapping to lower case (one code point to one), so the result does not depend
// on language or position. Bytes that are not valid UTF-8 are copied as they are.
QV_EXPORT std::string lowercased(std::string_view text);

// True when `lowercased(text)` would certainly return the same text; false negatives are possible
// beyond ASCII.
QV_EXPORT bool isPlainLowercase(std::string_view text);

}  // namespace qv
