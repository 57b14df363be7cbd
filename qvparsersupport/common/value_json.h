#pragma once

#include <optional>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/value.h"

namespace qv {

// Any value as one that survives a JSON text: `jsonText` of the JSON form, read by `parseJSON` and
// turned back, gives an equal value with the same numeric kinds. (Of a NaN, only that it is one.)
//
// What a JSON text keeps by itself stays as it is: null, true and false, texts, signed 64-bit
// integers, unsigned ones that only fit 64 bits, finite doubles, arrays, and dictionaries. Anything
// else becomes a dictionary of two keys, "$kind" and "value":
//
//   int8 int16 int32 long uint8 uint16 uint32 uint64 ulong    an integer
//   float double          a number, or "NaN", "Infinity", "-Infinity"
//   bytes                 base-64
//   string                base-64 of a text that is no UTF-8
//   dictionary            an array of [key, value], for dictionaries with a key "$kind" or with
//                         keys that are no UTF-8
//
// Both directions take any depth without recursion, and keep shared what a value shares in several
// places, so that neither grows beyond a small multiple of what there is.

// Null, with a text, for a value that holds a library object.
QV_EXPORT std::optional<Value> jsonFormOf(const Value& value, ErrorSlot errorDescription = nullptr);

// Null, with a text, when a dictionary with a key "$kind" is none of the above.
QV_EXPORT std::optional<Value> valueOfJSONForm(const Value& form,
                                               ErrorSlot errorDescription = nullptr);

}  // namespace qv
