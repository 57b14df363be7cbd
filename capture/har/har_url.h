#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qv::capture {

struct HARURL {
  std::string target;     // origin-form (RFC 9112, section 3.2.1), or "*"; escapes as they are
  std::string_view port;  // as digits, the scheme's own where the URL names none; may be empty
};

// Whether what it stands for never was traffic of HTTP: "data:", "blob:", "chrome-extension://".
bool isOfOtherKind(std::string_view url);

// Reads an absolute URL of HTTP or of a WebSocket, or what already is a target. Null for anything
// else.
std::optional<HARURL> readHARURL(std::string_view url);

// "192.0.2.7:51826", "[2001:db8::7]:51826"; without a port when the URL says nothing about it.
// Empty without an address.
std::string serverText(std::string_view address, const HARURL& url);

}  // namespace qv::capture
