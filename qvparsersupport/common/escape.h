#pragma once

#include <string>
#include <string_view>

#include "qvparsersupport/common/export.h"

namespace qv {

// Foreign text made safe for a terminal and for one line: control bytes, ESC and DEL as \xNN,
// bytes that are not UTF-8 as \xNN, and the characters that change the direction or the visibility
// of what follows as \u{NNNN}. A backslash stays as it is.
QV_EXPORT std::string escaped(std::string_view text);

}  // namespace qv
