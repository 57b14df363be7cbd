#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qv::capture {

// Nanoseconds since 1970-01-01 UTC of a date and time of day with an offset (ISO 8601, extended
// form, as RFC 3339 profiles it): "2024-05-01T12:34:56.789+02:00". Seconds may be missing, digits
// beyond nanoseconds are cut off, a second 60 counts as the one after it. Null for anything else,
// for a time without an offset (it could be anywhere) and for years outside 1678 to 2261.
std::optional<std::int64_t> timeFromISO8601(std::string_view text);

}  // namespace qv::capture
