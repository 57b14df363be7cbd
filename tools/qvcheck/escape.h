#pragma once

#include <string>
#include <string_view>

namespace qv::check {

// Captured text made safe for a terminal and for one line: control bytes, ESC and DEL as \xNN,
// bytes that are not UTF-8 as \xNN, and the characters that change the direction or the visibility
// of what follows as \u{NNNN}. A backslash stays as it is.
std::string escaped(std::string_view text);

// The same for text that only says which thing is meant: what is over 200 bytes is left out and
// counted.
std::string escapedShort(std::string_view text);

// The columns that the escaped text takes on a terminal, one for each printed character.
std::size_t escapedWidth(std::string_view text);

}  // namespace qv::check
