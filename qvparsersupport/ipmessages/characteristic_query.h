#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"

namespace qv {

// An accessory id and an instance id, as texts of decimal digits of any length.
using QVIPCharacteristicID = std::array<std::string, 2>;

// The ids of "/characteristics?id=1.10,2.3" in their order, repeated ones included. Null with a
// text for every other URL. Takes any number of ids in linear time, with 64 bytes for a pair of ids
// of up to 15 digits each and no allocation for a URL that is refused. Digits are those of ASCII.
QV_EXPORT std::optional<std::vector<QVIPCharacteristicID>> characteristicIDsOfURL(
    std::string_view url, ErrorSlot errorDescription);

}  // namespace qv
