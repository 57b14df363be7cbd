#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"

namespace qv {

// The transports of the protocol. `tlv8` is a pseudo-transport that keys the transformers of the
// fields inside a TLV8 value. Definitions use `none` for a parent and `ip` or `btle` for its
// instances. Any other number may be stored in a variable of this type and is treated as unknown.
enum class QVTransport : std::int64_t { none = 0, ip = 1, btle = 2, nimbusRelay = 3, tlv8 = 4 };

// The value formats, numbered as everywhere in profiles' archives and messages; `none` is what an
// unknown format string yields.
enum class QVFormatType : std::int64_t {
  none = 0,
  boolean = 1,
  integer = 2,
  uint8 = 3,
  uint16 = 4,
  uint32 = 5,
  uint64 = 6,
  floatingPoint = 7,
  string = 8,
  date = 9,
  tlv8 = 10,
  data = 11,
  array = 12,
  dictionary = 13,
};

// The permissions of a characteristic, named by their strings.
enum class QVPermissionType : std::int64_t {
  none = 0,
  pr = 1,
  pw = 2,
  ev = 3,
  ur = 4,
  aa = 5,
  hd = 6,
  tw = 7,
};

enum class QVUnitType : std::int64_t {
  none = 0,
  celsius = 1,
  percentage = 2,
  arcdegrees = 3,
  lux = 4,
  seconds = 5,
};

// Transport names and the forms of the protocol's UUIDs. Nothing here raises; any thread may call.
class QV_EXPORT QVTypes {
 public:
  QVTypes() = delete;

  // What follows the eight hexadecimal digits of a full protocol UUID.
  static constexpr std::string_view kBaseUUIDSuffix = "-0000-1000-8000-0a3f5c91d270";

  // "None", "IP", "BTLE", "Nimbus Relay" or "TLV8"; "Unknown" for every other number.
  static std::string_view nameOfTransport(QVTransport transport);

  // The full lower-case UUID: a text of 36 characters is returned lower-cased and otherwise
  // unchecked, one of up to 8 is padded with zeros to eight and completed with the base suffix.
  // Null with a text for no string at all and for every other length. Lengths are counted in code
  // points.
  static std::optional<std::string> fullVELUUIDFromShortUUID(
      const std::optional<std::string>& shortUUID, ErrorSlot errorDescription = nullptr);

  // The same for ASCII text without a copy of it: a view of the text itself or of the room given
  // for it. Null for every text that takes `fullVELUUIDFromShortUUID` to tell.
  using FullUUIDRoom = std::array<char, 36>;
  static std::optional<std::string_view> plainFullVELUUID(std::string_view shortUUID,
                                                          FullUUIDRoom& room);

  // Deliberate: despite its name it looks at the end of the text, in any letter case, for the base
  // suffix. False for null.
  static bool hasVELUUIDPrefix(const std::optional<std::string>& uuid);

  // The 32 lower-case hexadecimal digits of a UUID in its 8-4-4-4-12 form (RFC 4122, section 3),
  // which may be given in any letter case; null for everything else.
  static std::optional<std::string> hexStringFromUUID(const std::optional<std::string>& uuid);
};

}  // namespace qv
