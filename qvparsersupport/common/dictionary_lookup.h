#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/value.h"

namespace qv {

// Why a typed dictionary lookup gave nothing.
struct LookupError {
  static constexpr int kKeyAbsent = 1;
  static constexpr int kWrongType = 2;

  int code = 0;
  std::string description;
};

// The value under a key of a dictionary, when it has the wanted type; otherwise null and `error`
// set. With no dictionary at all (null, or a Value of another type) the lookups answer null and
// report no error.
QV_EXPORT std::optional<Value> arrayForKey(const std::optional<Value>& dictionary,
                                           std::string_view key, std::optional<LookupError>& error);
QV_EXPORT std::optional<Number> numberForKey(const std::optional<Value>& dictionary,
                                             std::string_view key,
                                             std::optional<LookupError>& error);

}  // namespace qv
