#include <gtest/gtest.h>

#include "tests/qvcheck/run_tool.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/xml_fragment.h"

namespace qv::test {
namespace {

TEST(ProfileCheck, reportsTheVerdictWithItsPlace) {
  const std::string one = "<enum name='E' format='int'><values/></enum>";
  struct Row {
    std::string text;
    int exit;
    std::string report;
  } const rows[] = {
      {profileText(one, "", "", ""), 0,
       "p.xml: accepted: 1 enum, 0 TLV8 structures, 0 characteristics, 0 services\n"},
      {profileText(one + "\n" + one, "", "", ""), 4,
       "p.xml:2:1: error[profile.duplicate-name]: Enum name E is not unique\n"
       "      <enum name=\"E\" format=\"int\"><values/></enum>\n\n"},
      {profileText(
           "",
           "<tlv8 name='T'><fields>\n  <field type='0x01' name='F' format='bool'/></fields></tlv8>",
           "", ""),
       4,
       "p.xml:2:3: error[profile.no-transformer]: No tlv8 value transformer found for field 'F'\n"
       "      <field type=\"0x01\" name=\"F\" format=\"bool\"/>\n\n"},
      // At the child that the text is about, and not longer than a line.
      {profileText("", "",
                   "<characteristic name='C'><format name='bool'/>\n<minValue value='a value that "
                   "is far too long for one line of the report, and then some'/></characteristic>",
                   ""),
       4,
       "p.xml:2:1: error[profile.limits]: minValue is only applicable to float and int "
       "types\n"
       "      <minValue value=\"a value that is far too long for one line of the repor...\n\n"},
      {"<profile>\n  <enums></profile>", 4, "p.xml:2:12: error[profile.xml]: mismatched tag\n\n"},
      {"", 4, "p.xml:1:1: error[profile.xml]: no element found\n\n"},
  };
  for (const Row& row : rows) {
    const TemporaryFolder folder;
    const Outcome outcome = runTool({"profile", "check", folder.write("p.xml", bytesOf(row.text))});
    // What is no XML cannot be surveyed either.
    const bool isXML =
        row.text.ends_with("</profile>") && row.report.find(".xml]") == row.report.npos;
    const std::string exit =
        row.exit == 0 ? "exit 0 (no findings)\n"
        : isXML ? "exit 4 (profile refused), also 1 (findings); qvcheck profile check --survey "
                  "tells every fault\n"
                : "exit 4 (profile refused), also 1 (findings)\n";
    EXPECT_EQ(outcome.exit, row.exit) << row.text;
    EXPECT_EQ(replaced(outcome.out, folder.path(""), ""), row.report + exit) << row.text;
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(ProfileCheck, noSurveyOfArchives) {
  const TemporaryFolder folder;
  const std::string xml = folder.write("p.xml", bytesOf(profileText("", "", "", "")));
  const std::string archive = folder.write("p.json", bytesOf(R"({"enums":[]})"));
  EXPECT_EQ(runTool({"profile", "check", archive}).exit, 0);
  for (const auto& files : {std::vector{archive}, {xml, archive}}) {
    std::vector<std::string> arguments = {"profile", "check", "--survey"};
    arguments.insert(arguments.end(), files.begin(), files.end());
    const Outcome outcome = runTool(arguments);
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_EQ(outcome.out, "exit 2 (wrong usage)\n");
    EXPECT_EQ(replaced(outcome.err, folder.path(""), ""),
              "qvcheck: --survey: p.json is an archive, which has no places to survey\n"
              "Try 'qvcheck profile check --help'.\n");
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
