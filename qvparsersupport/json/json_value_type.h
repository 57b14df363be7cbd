#pragma once

#include <cstdint>

namespace qv {

// The kinds of JSON values, as an object expects them. Any other number may stand in a variable of
// this type; what it then means is said where it is taken.
enum class QVIPJSONValueType : std::int32_t {
  unspecified = 0,  // inferred from the value
  number = 1,
  string = 2,
  boolean = 3,
  array = 4,
  object = 5,
  null = 6,
};

}  // namespace qv
