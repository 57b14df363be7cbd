#include "qvparsersupport/json/json_kinds.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "qvparsersupport/common/value_storage.h"

namespace qv {

namespace {

// Deliberate: fractions are cut off, so 0.5 counts as 0.
bool isBoolean(const Value::Node& value) {
  if (value.type != Value::Type::number) return false;
  const std::int64_t number = ValueBuilder::numberOf(value).int64Value();
  return number == 0 || number == 1;
}

template <Value::Type type>
bool isOfType(const Value::Node& value) {
  return value.type == type;
}

constexpr JSONKind kKinds[] = {
    {QVIPJSONValueType::number, isOfType<Value::Type::number>, "Value is not a number.",
     "a number"},
    {QVIPJSONValueType::string, isOfType<Value::Type::string>, "Value is not a string.",
     "a string"},
    {QVIPJSONValueType::boolean, isBoolean, "Value is not a boolean.", "true, false, 0 or 1"},
    {QVIPJSONValueType::array, isOfType<Value::Type::array>, "Value is not an array.", "an array"},
    {QVIPJSONValueType::object, isOfType<Value::Type::dictionary>, "Value is not an object.",
     "an object"},
    {QVIPJSONValueType::null, isOfType<Value::Type::null>, "Value is not null.", "null"},
};

static_assert(std::ranges::is_sorted(kKinds, {}, &JSONKind::type) &&
                  kKinds[0].type == QVIPJSONValueType::number &&
                  std::rbegin(kKinds)->type == QVIPJSONValueType::null,
              "rows stand by their number");

}  // namespace

const JSONKind* jsonKind(QVIPJSONValueType type) {
  // `unspecified` and negative numbers become large ones.
  const auto index = static_cast<std::uint32_t>(type) - 1;
  return index < std::size(kKinds) ? &kKinds[index] : nullptr;
}

}  // namespace qv
