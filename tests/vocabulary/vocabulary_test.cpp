#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "qvparsersupport/vocabulary/format_strings.h"
#include "qvparsersupport/vocabulary/identifiers.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {
namespace {

using Text = std::optional<std::string>;

TEST(TypesTest, nameOfTransport) {
  const std::pair<std::int64_t, std::string_view> rows[] = {
      {0, "None"}, {1, "IP"},      {2, "BTLE"},     {3, "Nimbus Relay"},
      {4, "TLV8"}, {5, "Unknown"}, {-1, "Unknown"},
  };
  for (const auto& [transport, name] : rows) {
    EXPECT_EQ(QVTypes::nameOfTransport(QVTransport{transport}), name) << transport;
  }
}

TEST(TypesTest, fullVELUUIDFromShortUUID) {
  const std::string tooLong = "Too many characters for a VEL short form UUID.";
  const struct {
    Text uuid, full, error;
  } rows[] = {
      {std::nullopt, std::nullopt, "Short UUID is not a string."},
      {"", "00000000-0000-1000-8000-0a3f5c91d270", "kept"},
      {"3E", "0000003e-0000-1000-8000-0a3f5c91d270", "kept"},
      {"no Hex! ", "no hex! -0000-1000-8000-0a3f5c91d270", "kept"},
      {"\xC3\x89\xC3\x89\xC3\x89\xC3\x89\xC3\x89",  // five characters in ten bytes
       "000\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9-0000-1000-8000-0a3f5c91d270", "kept"},
      {"123456789", std::nullopt, tooLong},
      {std::string(35, 'A'), std::nullopt, tooLong},
      {std::string(36, 'A'), std::string(36, 'a'), "kept"},
  };
  for (const auto& row : rows) {
    Text error = "kept";
    EXPECT_EQ(QVTypes::fullVELUUIDFromShortUUID(row.uuid, &error), row.full);
    EXPECT_EQ(error, row.error) << row.uuid.value_or("null");
    QVTypes::FullUUIDRoom room;
    const auto plain = QVTypes::plainFullVELUUID(row.uuid.value_or("none of them"), room);
    EXPECT_TRUE(!plain || row.full == *plain) << *plain;
  }
}

TEST(TypesTest, aTextLongerThanTheFullFormGetsTheSameMessage) {
  Text error;
  EXPECT_EQ(QVTypes::fullVELUUIDFromShortUUID(std::string(37, 'A')), std::nullopt);
  EXPECT_EQ(QVTypes::fullVELUUIDFromShortUUID(std::string(37, 'A'), &error), std::nullopt);
  EXPECT_EQ(error, "Too many characters for a VEL short form UUID.");
}

TEST(TypesTest, thePrefixIsLookedForAtTheEndAndTheHexFormOnlyInFullUUIDs) {
  const struct {
    Text uuid;
    bool hasBase;
    Text hex;
  } rows[] = {
      {std::nullopt, false, std::nullopt},
      {"3E", false, std::nullopt},
      {"0000003E-0000-1000-8000-0A3F5C91D270", true, "0000003e0000100080000a3f5c91d270"},
      {"6f1c2d3e-ab12-4c5d-8e9f-00aa11bb22cc", false, "6f1c2d3eab124c5d8e9f00aa11bb22cc"},
      {"x-0000-1000-8000-0a3f5c91d270", true, std::nullopt},
      {"0000003e-0000-1000-8000-0a3f5c91d270 ", false, std::nullopt},
      {"0000003g-0000-1000-8000-0a3f5c91d270", true, std::nullopt},
      {"0000003e00000-1000-8000-0a3f5c91d270", false, std::nullopt},
      {"0000003e0000100080000a3f5c91d270", false, std::nullopt},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(QVTypes::hasVELUUIDPrefix(row.uuid), row.hasBase) << row.uuid.value_or("null");
    EXPECT_EQ(QVTypes::hexStringFromUUID(row.uuid), row.hex) << row.uuid.value_or("null");
  }
}

// Walks a table against the strings in the order of their numbers, from 1.
template <class Rows, class Lookup>
void expectTable(const Rows& rows, std::initializer_list<std::string_view> strings, Lookup lookup) {
  ASSERT_EQ(rows.size(), strings.size());
  std::int64_t number = 0;
  for (const std::string_view string : strings) {
    EXPECT_EQ(static_cast<std::int64_t>(lookup(string)), ++number) << string;
  }
  for (const auto& row : rows) EXPECT_EQ(lookup(row.string), row.type);
}

TEST(FormatStringsTest, tables) {
  expectTable(QVFormatStrings::_formatStringMapping(),
              {"bool", "int", "uint8", "uint16", "uint32", "uint64", "float", "string", "date",
               "tlv8", "data", "array", "dict"},
              QVFormatStrings::formatTypeForString);
  expectTable(QVPermissionStrings::_permissionStringMapping(),
              {"pr", "pw", "ev", "ur", "aa", "hd", "tw"},
              QVPermissionStrings::permissionTypeForString);
  expectTable(QVUnitStrings::_unitStringMapping(),
              {"celsius", "percentage", "arcdegrees", "lux", "seconds"},
              QVUnitStrings::unitTypeForString);

  std::vector<std::string_view> strings;
  for (const auto& row : QVFormatStrings::_formatStringMapping()) {
    EXPECT_EQ(QVFormatStrings::stringForFormatType(row.type), row.string);
    strings.push_back(row.string);
  }
  EXPECT_THAT(QVFormatStrings::_allowedFormatStrings(),
              ::testing::UnorderedElementsAreArray(strings));
}

TEST(FormatStringsTest, unknownStringsAndTypes) {
  const std::optional<std::string_view> unknown[] = {std::nullopt, "",   "Bool", "bool ",
                                                     "uint",       "PR", "prx",  "Celsius"};
  for (const auto string : unknown) {
    EXPECT_EQ(QVFormatStrings::formatTypeForString(string), QVFormatType::none);
    EXPECT_EQ(QVPermissionStrings::permissionTypeForString(string), QVPermissionType::none);
    EXPECT_EQ(QVUnitStrings::unitTypeForString(string), QVUnitType::none);
  }
  for (const std::int64_t type : {-1, 0, 14}) {
    EXPECT_EQ(QVFormatStrings::stringForFormatType(QVFormatType{type}), std::nullopt);
  }
}

TEST(IdentifiersTest, keepTheTextAsGiven) {
  const auto uti = QVUniformTypeIdentifier::identifierWithUTI("Public.On ");
  EXPECT_EQ(uti->uti(), "Public.On ");
  uti->setUti(std::nullopt);
  EXPECT_EQ(uti->uti(), std::nullopt);
  const auto uuid = QVUniversallyUniqueIdentifier::identifierWithUUIDString("3E");
  EXPECT_EQ(uuid->uuidString(), "3E");
}

}  // namespace
}  // namespace qv
