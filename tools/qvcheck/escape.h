#pragma once

#include <string>
#include <string_view>

#include "qvparsersupport/common/escape.h"

namespace qv::check {

// Escaped, for text that only says which thing is meant: what is over 200 bytes is left out and
// counted.
std::string escapedShort(std::string_view text);

// Escaped, and when that takes more columns, cut to them with "..." at the end.
std::string escapedToWidth(std::string_view text, std::size_t columns);

// The columns that the escaped text takes on a terminal, one for each printed character.
std::size_t escapedWidth(std::string_view text);

}  // namespace qv::check
