#include "qvparsersupport/json/json_kinds.h"

#include <algorithm>
#include <iterator>

namespace qv {

namespace {

// Fractions are cut off, so 0.5 counts as 0.
bool isBoolean(const Value& value) {
  const auto number = value.asNumber();
  return number && (number->int64Value() == 0 || number->int64Value() == 1);
}

constexpr JSONKind kKinds[] = {
    {QVIPJSONValueType::number, [](const Value& v) { return v.isNumber(); },
     "Value is not a number.", "a number"},
    {QVIPJSONValueType::string, [](const Value& v) { return v.isString(); },
     "Value is not a string.", "a string"},
    {QVIPJSONValueType::boolean, isBoolean, "Value is not a boolean.", "true, false, 0 or 1"},
    {QVIPJSONValueType::array, [](const Value& v) { return v.isArray(); }, "Value is not an array.",
     "an array"},
    {QVIPJSONValueType::object, [](const Value& v) { return v.isDictionary(); },
     "Value is not an object.", "an object"},
    {QVIPJSONValueType::null, [](const Value& v) { return v.isNull(); }, "Value is not null.",
     "null"},
};

}  // namespace

const JSONKind* jsonKind(QVIPJSONValueType type) {
  const auto* row = std::ranges::find(kKinds, type, &JSONKind::type);
  return row == std::end(kKinds) ? nullptr : row;
}

}  // namespace qv
