#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

// The strings that profiles and JSON bodies use for formats, permissions and units. All tables are
// constant and case-sensitive; any thread may call, nothing raises, and the views live as long as
// the process. A string that is null or not in the table reads as `none`.

struct QVFormatString {
  std::string_view string;
  QVFormatType type;
};

struct QVPermissionString {
  std::string_view string;
  QVPermissionType type;
};

struct QVUnitString {
  std::string_view string;
  QVUnitType type;
};

class QV_EXPORT QVFormatStrings {
 public:
  QVFormatStrings() = delete;

  static QVFormatType formatTypeForString(std::optional<std::string_view> string);
  // Null for `none` and for numbers outside the table.
  static std::optional<std::string_view> stringForFormatType(QVFormatType format);

  static std::span<const std::string_view> _allowedFormatStrings();
  static std::span<const QVFormatString> _formatStringMapping();
};

// Deliberate: permissions and units have no way back from the type to the string.
class QV_EXPORT QVPermissionStrings {
 public:
  QVPermissionStrings() = delete;

  static QVPermissionType permissionTypeForString(std::optional<std::string_view> string);

  static std::span<const QVPermissionString> _permissionStringMapping();
};

class QV_EXPORT QVUnitStrings {
 public:
  QVUnitStrings() = delete;

  static QVUnitType unitTypeForString(std::optional<std::string_view> string);

  static std::span<const QVUnitString> _unitStringMapping();
};

}  // namespace qv
