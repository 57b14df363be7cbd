#pragma once

#include <string_view>

#include "qvparsersupport/common/bytes.h"

namespace qv::test {

// Bytes written to be read: line ends of the text are dropped, `\r`, `\n`, `\t`, `\\` and `\xNN`
// stand for the bytes that they name, and lines that begin with '#' are comments. A broken escape
// ends the test program.
Bytes readableBytes(std::string_view text);

}  // namespace qv::test
