#include "qvparsersupport/common/dictionary_lookup.h"

#include <fmt/format.h>

namespace qv {

namespace {

std::optional<Value> valueForKey(const std::optional<Value>& dictionary, std::string_view key,
                                 Value::Type type, const char* typeName,
                                 std::optional<LookupError>& error) {
  if (!dictionary || !dictionary->isDictionary()) return std::nullopt;
  std::optional<Value> value = dictionary->find(key);
  if (!value) {
    error = LookupError{LookupError::kKeyAbsent, fmt::format("Key '{}' is absent", key)};
  } else if (value->type() != type) {
    error = LookupError{LookupError::kWrongType,
                        fmt::format("Value for key '{}' is not {}", key, typeName)};
    value.reset();
  }
  return value;
}

}  // namespace

std::optional<Value> arrayForKey(const std::optional<Value>& dictionary, std::string_view key,
                                 std::optional<LookupError>& error) {
  return valueForKey(dictionary, key, Value::Type::array, "an array", error);
}

std::optional<Number> numberForKey(const std::optional<Value>& dictionary, std::string_view key,
                                   std::optional<LookupError>& error) {
  const auto value = valueForKey(dictionary, key, Value::Type::number, "a number", error);
  return value ? value->asNumber() : std::nullopt;
}

}  // namespace qv
