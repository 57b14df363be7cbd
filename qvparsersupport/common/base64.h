#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv {

// Strict base-64 of the standard alphabet with padding (RFC 4648, section 4). Null for anything
// else: white space, a foreign character, missing or misplaced padding, bits set after the last
// byte. The empty text gives no bytes.
QV_EXPORT std::optional<Bytes> base64Decoded(std::string_view text);

// Adds the bytes in the same alphabet, with padding.
QV_EXPORT void appendBase64(std::string& text, ByteView bytes);

}  // namespace qv
