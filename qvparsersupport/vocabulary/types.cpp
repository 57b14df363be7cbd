#include "qvparsersupport/vocabulary/types.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

#include "qvparsersupport/common/utf8.h"

namespace qv {

namespace {

struct TransportRow {
  QVTransport transport;
  std::string_view name;
};

constexpr TransportRow kTransports[] = {
    {QVTransport::none, "None"}, {QVTransport::ip, "IP"},
    {QVTransport::btle, "BTLE"}, {QVTransport::nimbusRelay, "Nimbus Relay"},
    {QVTransport::tlv8, "TLV8"},
};

constexpr std::size_t kShortFormLength = 8;
constexpr std::size_t kFullFormLength = kShortFormLength + QVTypes::kBaseUUIDSuffix.size();

bool isLowercaseHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

bool isHyphenPlace(std::size_t index) {
  return index == 8 || index == 13 || index == 18 || index == 23;
}

}  // namespace

std::string_view QVTypes::nameOfTransport(QVTransport transport) {
  for (const TransportRow& row : kTransports) {
    if (row.transport == transport) return row.name;
  }
  return "Unknown";
}

std::optional<std::string> QVTypes::fullVELUUIDFromShortUUID(
    const std::optional<std::string>& shortUUID, ErrorSlot errorDescription) {
  if (!shortUUID) return fail(errorDescription, "Short UUID is not a string.");
  const std::size_t length = codePointCount(*shortUUID);
  if (length == kFullFormLength) return lowercased(*shortUUID);
  if (length <= kShortFormLength) {
    std::string full(kShortFormLength - length, '0');
    full += *shortUUID;
    full += kBaseUUIDSuffix;
    return lowercased(full);
  }
  // Deliberate: a text longer than the full form gets the same message.
  return fail(errorDescription, "Too many characters for a VEL short form UUID.");
}

std::optional<std::string_view> QVTypes::plainFullVELUUID(std::string_view shortUUID,
                                                          FullUUIDRoom& room) {
  static_assert(std::tuple_size_v<FullUUIDRoom> == kFullFormLength);
  if (shortUUID.size() == kFullFormLength) {
    return isPlainLowercase(shortUUID) ? std::optional(shortUUID) : std::nullopt;
  }
  if (shortUUID.size() > kShortFormLength) return std::nullopt;
  char* out = std::fill_n(room.data(), kShortFormLength - shortUUID.size(), '0');
  for (const char c : shortUUID) {
    if ((c & 0x80) != 0) return std::nullopt;
    *out++ = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  }
  std::ranges::copy(kBaseUUIDSuffix, out);
  return std::string_view(room.data(), room.size());
}

bool QVTypes::hasVELUUIDPrefix(const std::optional<std::string>& uuid) {
  return uuid && lowercased(*uuid).ends_with(kBaseUUIDSuffix);
}

std::optional<std::string> QVTypes::hexStringFromUUID(const std::optional<std::string>& uuid) {
  if (!uuid || uuid->size() > 2 * kFullFormLength) return std::nullopt;
  std::string text = lowercased(*uuid);
  if (text.size() != kFullFormLength) return std::nullopt;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isHyphenPlace(i) ? text[i] != '-' : !isLowercaseHexDigit(text[i])) return std::nullopt;
  }
  std::erase(text, '-');
  return text;
}

}  // namespace qv
