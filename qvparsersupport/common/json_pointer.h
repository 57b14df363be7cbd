#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv {

// Places in a JSON text, named by JSON Pointers (RFC 6901) and found afterwards, so that they cost
// nothing until somebody asks. The text is one that parseJSON accepts; with any other the answers
// are null or incomplete. A repeated key stands for its last value.

// Adds a step to a pointer: a key, with "~" and "/" written as "~0" and "~1", or an index.
QV_EXPORT void appendJSONPointerKey(std::string& pointer, std::string_view key);
QV_EXPORT void appendJSONPointerIndex(std::string& pointer, std::size_t index);

// The value at the pointer, "" being the whole value without the blanks around it; null when there
// is none and for what is no pointer. One pass over the text.
QV_EXPORT std::optional<ByteRange> rangeOfJSONPointer(ByteView text, std::string_view pointer);
// The same for many pointers, in one pass for all of them together.
QV_EXPORT std::vector<std::optional<ByteRange>> rangesOfJSONPointers(
    ByteView text, std::span<const std::string> pointers);

// A key as it stands in an object: the pointer to its value, the key, and the bytes of the key with
// its quotes.
struct JSONKeyPlace {
  std::string pointer;
  std::string key;
  std::optional<ByteRange> range;
};

// Every further occurrence of a key that its object has given before, in the order of the text, at
// most `limit`, and no more once their pointers fill 16 MiB. Not quadratic in the keys of an
// object.
QV_EXPORT std::vector<JSONKeyPlace> repeatedJSONKeys(ByteView text, std::size_t limit);
// Sets the range of each place to that of the key that its pointer ends in; null when there is none
// and for elements of arrays. One pass.
QV_EXPORT void locateJSONKeys(ByteView text, std::span<JSONKeyPlace> places);

}  // namespace qv
