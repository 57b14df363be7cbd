#include <gtest/gtest.h>

#include "tests/qvcheck/temporary_folder.h"
#include "tests/support/xml_fragment.h"

namespace qv::test {
namespace {

TEST(ProfileCheck, reportsTheVerdictWithItsPlace) {
  const std::string duplicate = profileText(
      "<enum name='E' format='int'><values/></enum>\n<enum name='E' format='int'><values/></enum>",
      "", "", "");
  struct Row {
    std::string text;
    int exit;
    const char* report;
  } const rows[] = {
      {profileText("<enum name='E' format='int'><values/></enum>", "", "", ""), 0,
       "p.xml: accepted: 1 enum, 0 TLV8 structures, 0 characteristics, 0 services\n"
       "exit 0 (nothing at or above --fail-on)\n"},
      {duplicate, 4,
       "p.xml:2:1: error[profile.refused]: Enum name E is not unique\n"
       "      <enum name=\"E\" format=\"int\"><values/></enum>\n\n"
       "exit 4 (profile refused), also 1 (findings)\n"},
      {profileText(
           "",
           "<tlv8 name='T'><fields>\n  <field type='0x01' name='F' format='bool'/></fields></tlv8>",
           "", ""),
       4,
       "p.xml:2:3: error[profile.refused]: No tlv8 value transformer found for field 'F'\n"
       "      <field type=\"0x01\" name=\"F\" format=\"bool\"/>\n\n"
       "exit 4 (profile refused), also 1 (findings)\n"},
      {"<profile>\n  <enums></profile>", 4,
       "p.xml:2:12: error[profile.xml]: mismatched tag\n\n"
       "exit 4 (profile refused), also 1 (findings)\n"},
      {"<!DOCTYPE p>\n<p/>", 4,
       "p.xml:1:1: error[profile.xml]: a DOCTYPE is not accepted\n\n"
       "exit 4 (profile refused), also 1 (findings)\n"},
      {"", 4,
       "p.xml:1:1: error[profile.xml]: no element found\n\n"
       "exit 4 (profile refused), also 1 (findings)\n"},
  };
  for (const Row& row : rows) {
    const TemporaryFolder folder;
    Outcome outcome = runTool({"profile", "check", folder.write("p.xml", bytesOf(row.text))});
    const std::string path = folder.path("");
    for (std::size_t at = 0; (at = outcome.out.find(path)) != std::string::npos;)
      outcome.out.erase(at, path.size());
    EXPECT_EQ(outcome.exit, row.exit) << row.text;
    EXPECT_EQ(outcome.out, row.report) << row.text;
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(ProfileCheck, examplesAreAccepted) {
  const std::string profiles = QV_SOURCE_DIR "/examples/profiles/";
  EXPECT_EQ(runTool({"profile", "check", profiles + "lamp.xml"}).exit, 0);
  EXPECT_EQ(runTool({"profile", "check", profiles + "household.xml", profiles + "lamp.xml"}).exit,
            0);
}

}  // namespace
}  // namespace qv::test
