#pragma once

#include <string>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/json_reader.h"

namespace qv {

// What faults of a body say about it. Internal.

inline ByteRange wholeOf(const Bytes& body) {
  return {0, body.size()};
}

// "a body of 1 byte".
std::string bodySizeText(const Bytes& body);

// Where the reader stopped: one byte, or the place behind the last one.
ByteRange syntaxErrorRange(const JSONParseResult& parsed, const Bytes& body);

}  // namespace qv
