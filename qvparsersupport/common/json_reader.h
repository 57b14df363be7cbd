#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/value.h"

namespace qv {

// What a reader of JSON accepts. A text beyond a limit is refused like one that is no JSON.
struct JSONLimits {
  static constexpr std::size_t kMaximumDepth = 1024;

  std::size_t maximumBytes = static_cast<std::size_t>(-1);
  std::size_t maximumDepth = kMaximumDepth;  // of nested arrays and objects; never above this
  // Values of every kind, nested ones included. What is built for a value can be hundreds of times
  // as large as its two bytes of text, so this is what bounds the memory that a body may cost.
  std::size_t maximumValues = 8'000'000;
};

struct JSONParseResult {
  std::optional<Value> value;    // null when the text is no JSON
  std::string error;             // what is wrong and at which byte; empty with a value
  std::size_t errorOffset = 0;   // the byte at which the reader stopped
  bool hasRepeatedKeys = false;  // some object gives a key more than once
};

// Reads one JSON text (RFC 8259, any top-level kind) of UTF-8 into a Value: integers that fit get
// the signed 64-bit kind, or else the unsigned one; numbers with a fraction or an exponent and
// larger integers get the double kind; true and false the char kind. Refused, with a text that
// names the byte: bad syntax, invalid UTF-8, lone surrogates, a number beyond double or with an
// exponent beyond 31 bits, what exceeds the limits, bytes after the value. Of a repeated key the
// last value wins.
//
// The value keeps a copy of the text. For each byte of a text that is not tiny it takes at most 12
// bytes, and reading it at most 25; of an attribute database 3.4.
QV_EXPORT JSONParseResult parseJSON(ByteView text, const JSONLimits& limits = {});

}  // namespace qv
