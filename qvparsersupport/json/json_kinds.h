#pragma once

#include "qvparsersupport/common/value.h"
#include "qvparsersupport/json/json_value_type.h"

namespace qv {

// A kind of JSON value: what is of it, the fault of what is not, and its name for a person.
// Internal.
struct JSONKind {
  QVIPJSONValueType type;
  bool (*accepts)(const Value::Node&);
  const char* text;
  const char* name;
};

// Null for a number that is no enumerator, and for `unspecified`.
const JSONKind* jsonKind(QVIPJSONValueType type);

}  // namespace qv
