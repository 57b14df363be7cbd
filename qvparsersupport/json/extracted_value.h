#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "qvparsersupport/common/value.h"
#include "qvparsersupport/json/json_value_type.h"

namespace qv {

class QVIPJSONObject;

using QVIPJSONObjectList = std::vector<std::shared_ptr<QVIPJSONObject>>;

// One read of a key, as the journal of an object tells it. It shares what it names with the object
// and stays valid without it.
struct QVIPJSONExtractedValue {
  std::string_view key;
  // What the read obtained: nothing for an absent key and on a fault (but a transformer may hand
  // out a value beside its fault), the raw value or a transformer's result, a child object, or one
  // child for each element of an array.
  std::variant<std::monostate, Value, std::shared_ptr<QVIPJSONObject>, QVIPJSONObjectList> value;
  // The raw value under the key; null when the key was absent.
  std::optional<Value> jsonValue;
  // The kind that was asked for.
  QVIPJSONValueType jsonType = QVIPJSONValueType::unspecified;
  std::optional<std::string> errorDescription;
};

}  // namespace qv
