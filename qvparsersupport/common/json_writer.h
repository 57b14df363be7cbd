#pragma once

#include <cstddef>
#include <string>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/value.h"

namespace qv {

struct JSONStyle {
  std::size_t indent = 0;  // blanks for each level; 0 for one line
  // A longer text is cut between characters, so that with a "..." at its end it has this length
  // or a little less. What is cut off costs nothing.
  std::size_t maximumBytes = static_cast<std::size_t>(-1);
};

// The value as a JSON text (RFC 8259) that reads back equal, numeric kinds of parsed JSON included:
// numbers of the char kind that are 0 or 1 are true and false, floats are written so that the same
// float is read again and always show a fraction or an exponent, and text is escaped where it must
// be. What JSON does not know is written as a string: bytes in base-64, NaN and infinities by name,
// a library object as "object". Bytes of text that are no UTF-8 turn into U+FFFD. Takes any depth.
// What a value shares in several places is written in each of them, so a small value that a host or
// an archive made can have a text of any length: `maximumBytes` bounds it.
QV_EXPORT std::string jsonText(const Value& value, const JSONStyle& style = {});

}  // namespace qv
