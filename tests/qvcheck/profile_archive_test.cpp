#include <gtest/gtest.h>

#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/xml_fragment.h"

namespace qv::test {
namespace {

const std::string kProfiles = QV_SOURCE_DIR "/examples/profiles/";

TEST(ProfileArchive, isAcceptedWhereverAProfileIs) {
  const TemporaryFolder folder;
  const std::string archive = folder.path("all.json");
  EXPECT_EQ(runTool({"profile", "archive", kProfiles + "household.xml", kProfiles + "lamp.xml",
                     "-o", archive})
                .exit,
            0);
  EXPECT_EQ(runTool({"profile", "archive", archive}).out, contentOf(archive));
  const Outcome whole = runTool({"profile", "check", archive});
  EXPECT_EQ(whole.exit, 0) << whole.out;
  const Outcome value = runTool({"value", "decode", "--profile", archive, "--ref", "lamp level",
                                 "--transport", "btle", "28"});
  EXPECT_EQ(value.out,
            "of:      characteristic 'Lamp Level' over BTLE, format int\n"
            "encoded: 28\nvalue:   40\nok\n");
}

// The traffic cases give the same faults under an archive of their profile, without its places and
// without the lengths of fields, which archives do not hold.
TEST(ProfileArchive, checksTraffic) {
  const TemporaryFolder folder;
  const std::string traffic = QV_SOURCE_DIR "/examples/captures/";
  const std::string archive = folder.path("lamp.json");
  EXPECT_EQ(runTool({"profile", "archive", kProfiles + "lamp.xml", "-o", archive}).exit, 0);
  const auto findings = [&](const std::string& profile) {
    return runTool({"traffic", "--profile", profile, "--request", traffic + "pairing-faulty.req",
                    "--response", traffic + "pairing-faulty.rsp", "--quiet"})
        .out;
  };
  std::string expected = findings(kProfiles + "lamp.xml");
  const std::size_t length = expected.find("error[tlv8.field-length]");
  ASSERT_NE(length, std::string::npos);
  const std::size_t line = expected.rfind('\n', length) + 1;
  expected.erase(line, expected.find('\n', length) + 1 - line);
  EXPECT_EQ(findings(archive), expected);
}

// The service of the second profile refers by UUID, its archive by a name that the first one has.
TEST(ProfileArchive, warnsOfNamesThatMeanAnotherCharacteristic) {
  const TemporaryFolder folder;
  const auto profile = [&](const char* file, const std::string& uuid, const std::string& service) {
    return folder.write(
        file,
        bytesOf(profileText("", "",
                            "<characteristic name='Level'><type uuid='" + uuid +
                                "'/><format name='uint8'/><ip/></characteristic>",
                            "<service name='" + service + "'><ip><required><characteristic ref='" +
                                uuid + "'/></required><optional/></ip></service>")));
  };
  const std::string first = profile("first.xml", "1", "Lamp");
  const std::string second = profile("second.xml", "2", "Fan");
  EXPECT_EQ(runTool({"profile", "archive", second}).err, "");
  const Outcome outcome = runTool({"profile", "archive", first, second});
  EXPECT_EQ(outcome.exit, 0);
  EXPECT_EQ(outcome.err,
            "qvcheck: warning: service 'Fan' refers to characteristic 'Level', but in the archive "
            "that name means another one\n");
}

TEST(ProfileArchive, tellsWhatIsNone) {
  const struct {
    const char* text;
    const char* complaint;
  } rows[] = {
      {" {\"enums\": [}", "a.json:12: error[profile.json]: "},
      {"{\"a\": 1}", "a.json:0: error[profile.archive]: This JSON is no archive of profiles\n"},
      {"{\"enums\": [{\"$kind\": 1}]}", "a.json:0: error[profile.archive]: "},
      {R"({"services": [{"name": "S", "ip": {"transport": 1, "requiredRefs": ["Gone"]}}]})",
       "a.json:0: error[profile.unknown-reference]: Failed to find parent characteristic with ref "
       "gone\n"},
  };
  for (const auto& row : rows) {
    const TemporaryFolder folder;
    const Outcome outcome =
        runTool({"profile", "check", folder.write("a.json", bytesOf(row.text)), "--quiet"});
    EXPECT_EQ(outcome.exit, 4) << row.text;
    EXPECT_TRUE(replaced(outcome.out, folder.path(""), "").starts_with(row.complaint))
        << outcome.out;
  }
  const TemporaryFolder folder;
  const std::string archive = folder.write("a.json", bytesOf("{\"enums\": []}"));
  const Outcome mixed = runTool({"profile", "check", kProfiles + "lamp.xml", archive, "--quiet"});
  EXPECT_EQ(mixed.exit, 4);
  EXPECT_EQ(mixed.out, archive +
                           ":0: error[profile.archive]: An archive is loaded alone, without "
                           "other profiles\n");
}

}  // namespace
}  // namespace qv::test
