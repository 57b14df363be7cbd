#include "qvparsersupport/vocabulary/format_strings.h"

#include <array>
#include <cstddef>
#include <iterator>

namespace qv {

namespace {

constexpr QVFormatString kFormats[] = {
    {"bool", QVFormatType::boolean},        {"int", QVFormatType::integer},
    {"uint8", QVFormatType::uint8},         {"uint16", QVFormatType::uint16},
    {"uint32", QVFormatType::uint32},       {"uint64", QVFormatType::uint64},
    {"float", QVFormatType::floatingPoint}, {"string", QVFormatType::string},
    {"date", QVFormatType::date},           {"tlv8", QVFormatType::tlv8},
    {"data", QVFormatType::data},           {"array", QVFormatType::array},
    {"dict", QVFormatType::dictionary},
};

constexpr QVPermissionString kPermissions[] = {
    {"pr", QVPermissionType::pr}, {"pw", QVPermissionType::pw}, {"ev", QVPermissionType::ev},
    {"ur", QVPermissionType::ur}, {"aa", QVPermissionType::aa}, {"hd", QVPermissionType::hd},
    {"tw", QVPermissionType::tw},
};

constexpr QVUnitString kUnits[] = {
    {"celsius", QVUnitType::celsius},       {"percentage", QVUnitType::percentage},
    {"arcdegrees", QVUnitType::arcdegrees}, {"lux", QVUnitType::lux},
    {"seconds", QVUnitType::seconds},
};

constexpr auto kAllowedFormats = [] {
  std::array<std::string_view, std::size(kFormats)> strings;
  for (std::size_t i = 0; i < strings.size(); ++i) strings[i] = kFormats[i].string;
  return strings;
}();

template <class Row, std::size_t count>
auto typeForString(const Row (&rows)[count], std::optional<std::string_view> string) {
  for (const Row& row : rows) {
    if (row.string == string) return row.type;
  }
  return decltype(Row::type)::none;
}

}  // namespace

QVFormatType QVFormatStrings::formatTypeForString(std::optional<std::string_view> string) {
  return typeForString(kFormats, string);
}

std::optional<std::string_view> QVFormatStrings::stringForFormatType(QVFormatType format) {
  for (const QVFormatString& row : kFormats) {
    if (row.type == format) return row.string;
  }
  return std::nullopt;
}

std::span<const std::string_view> QVFormatStrings::_allowedFormatStrings() {
  return kAllowedFormats;
}

std::span<const QVFormatString> QVFormatStrings::_formatStringMapping() {
  return kFormats;
}

QVPermissionType QVPermissionStrings::permissionTypeForString(
    std::optional<std::string_view> string) {
  return typeForString(kPermissions, string);
}

std::span<const QVPermissionString> QVPermissionStrings::_permissionStringMapping() {
  return kPermissions;
}

QVUnitType QVUnitStrings::unitTypeForString(std::optional<std::string_view> string) {
  return typeForString(kUnits, string);
}

std::span<const QVUnitString> QVUnitStrings::_unitStringMapping() {
  return kUnits;
}

}  // namespace qv
