// What a table archives and restores.

#include <fmt/format.h>

#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_writer.h"
#include "tests/support/expectations.h"
#include "tests/symbols/symbol_table_fixture.h"

namespace qv {
namespace {

using test::profileText;

constexpr const char* kSections[] = {"enums", "tlv8s", "characteristics", "services"};

Value valueOf(std::string_view json) {
  const auto parsed = parseJSON(bytesOf(json));
  EXPECT_EQ(parsed.error, "") << json;
  return parsed.value.value_or(Value());
}

class ArchiveTest : public test::SymbolTableFixture {
 protected:
  std::string restore(const Value& archive) {
    log.clear();
    std::optional<std::string> error = "from before";
    const bool restored = table.loadArchivedRepresentation(archive, &error);
    EXPECT_EQ(restored, !error.has_value());
    EXPECT_EQ(restored, !table.lastLoadFault().has_value());
    EXPECT_FALSE(table.loadInProgress());
    EXPECT_EQ(table.document(), nullptr);
    EXPECT_EQ(log.size(), restored ? 0U : 2U);
    return error.value_or("restored");
  }
};

TEST_F(ArchiveTest, profilesAreArchivedAndRestored) {
  std::string section;
  test::expectAnswers("archives/profiles.txt", [&](const test::Case& input) -> std::string {
    if (input[0].starts_with("== ")) {
      section = input[0].substr(input[0].rfind(' ') + 1);
      return "";
    }
    std::string fragment;
    for (const std::string& line : input) fragment += line;
    const auto in = [&](const char* name) { return section == name ? fragment : ""; };
    EXPECT_EQ(load({profileText("<enum name='E' format='uint8'><values/></enum>" + in("enums"),
                                "<tlv8 name='T0'><fields/></tlv8>" + in("tlv8s"),
                                "<characteristic name='A'><type uti='u.a' uuid='1B'/>"
                                "<format name='bool'/><ip/><btle/></characteristic>" +
                                    in("characteristics"),
                                in("services"))}),
              "loaded");
    const Value archive = table.archiveRepresentation();
    EXPECT_EQ(restore(archive), "restored");
    EXPECT_EQ(table.archiveRepresentation(), archive);

    const Value list = archive.find(section).value_or(Value());
    std::string text;
    for (std::size_t i = section == "services" ? 0 : 1; i < list.count(); ++i) {
      text += jsonText(list.at(i)) + "\n";
    }
    return text;
  });
}

TEST_F(ArchiveTest, whatATableMakesOfAnArchive) {
  test::expectAnswers("archives/tables.txt", [&](const test::Case& input) {
    const std::string result = restore(valueOf(input[0]));
    if (result != "restored") return result;
    std::string text;
    const Value archive = table.archiveRepresentation();
    EXPECT_EQ(archive.count(), std::size(kSections));
    for (std::size_t i = 0; i < archive.count(); ++i) {
      EXPECT_EQ(archive.keyAt(i), kSections[i]);
      if (archive.at(i).count() > 0) {
        text += fmt::format("{}: {}\n", kSections[i], jsonText(archive.at(i)));
      }
    }
    return text.empty() ? "nothing" : text;
  });
}

}  // namespace
}  // namespace qv
