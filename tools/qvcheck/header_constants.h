#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/common/number.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv::check {

// A value as a C++ constant of the type that its format has; of a wider one where it does not fit,
// which `remark` then says.
struct Constant {
  std::string type;
  std::string literal;
  std::string remark;
};

// Null for what has no C++ form: an infinity, a value of a format without values.
std::optional<Constant> numberConstant(const Number& number, QVFormatType format);
std::optional<Constant> valueConstant(const Value& value, QVFormatType format);

// The enumerator of the header's `Format`.
std::string_view enumeratorOf(QVFormatType format);
std::string nameOf(QVFormatType format);

}  // namespace qv::check
