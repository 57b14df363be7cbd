#include "tools/qvcheck/profile_survey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "qvparsersupport/common/process_log.h"
#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/xml_fragment.h"

namespace qv::test {
namespace {

using check::Finding;
using check::Severity;

// A profile around a case of rules/definitions.txt, with what its cases refer to.
std::string profileAround(const std::string& kind, const std::string& xml) {
  static const std::map<std::string, std::pair<std::string, std::string>> kAround = {
      {"value", {"enums: <enum name='X' format='uint8'><values>", "</values></enum>"}},
      {"enum", {"enums: ", ""}},
      {"tlv8", {"tlv8s: ", ""}},
      {"field", {"tlv8s: <tlv8 name='X'><fields>", "</fields></tlv8>"}},
      {"property",
       {"characteristics: <characteristic name='X'><properties>",
        "</properties></characteristic>"}},
      {"characteristic", {"characteristics: ", ""}},
      {"service", {"services: ", ""}}};
  const auto& [start, end] = kAround.at(kind);
  const std::string section = start.substr(0, start.find(':'));
  const std::string fragment = start.substr(section.size() + 2) + xml + end;
  const auto in = [&](const char* name) { return section == name ? fragment : ""; };
  return profileText("<enum name='Small' format='uint8'><values/></enum>" + in("enums"),
                     "<tlv8 name='T'><fields/></tlv8>" + in("tlv8s"),
                     "<characteristic name='On'><format name='bool'/><ip/></characteristic>"
                     "<characteristic name='Off'><format name='bool'/><btle/></characteristic>" +
                         in("characteristics"),
                     in("services"));
}

// There is an error exactly when the loader refuses, and one of them is the loader's fault, found
// by the survey itself.
void expectAgreement(const std::string& profile) {
  const std::vector documents = {documentFrom(profile)};
  auto& table = QVSymbolTable::sharedSymbolTable();
  setProcessLogSink([](std::string_view) {});
  table.loadDocuments(documents);
  const std::optional<QVLoadFault> fault = table.lastLoadFault();
  const std::vector<Finding> findings = check::surveyOf(documents, fault);
  setProcessLogSink({});
  const auto errors = std::count_if(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.severity == Severity::error;
  });
  EXPECT_EQ(errors > 0, fault.has_value()) << profile;
  if (!fault) return;
  const auto isFault = [&](const Finding& finding) {
    return finding.text == fault->reason && finding.rule != "profile.refused" &&
           finding.location.byteOffset == fault->element->position().byteOffset;
  };
  EXPECT_TRUE(std::any_of(findings.begin(), findings.end(), isFault)) << profile;
}

TEST(ProfileSurvey, neverContradictsTheLoader) {
  std::string subject;
  std::size_t count = 0;
  for (const char* file : {"rules/loads.txt", "rules/definitions.txt"}) {
    for (const Case& input : casesIn(file)) {
      if (input[0].starts_with("== ")) {
        subject = input[0].substr(3, input[0].rfind(' ') - 3);
      } else if (subject != "object") {
        expectAgreement(file == std::string("rules/loads.txt")
                            ? profileWithFragment(subject, input[0])
                            : profileAround(subject, input[0]));
        ++count;
      }
    }
  }
  EXPECT_GT(count, 100U);
}

// Each line of a case is a section and something in it; "--" begins another document.
TEST(ProfileSurvey, tellsEverythingItFinds) {
  expectAnswers("profiles/survey.txt", [](const Case& input) {
    const TemporaryFolder folder;
    std::map<std::string, std::string> sections;
    std::vector<std::string> arguments = {"profile", "check", "--survey"};
    const auto close = [&] {
      const std::string name = static_cast<char>('a' + arguments.size() - 3) + std::string(".xml");
      arguments.push_back(folder.write(
          name, bytesOf(profileText(sections["enums"], sections["tlv8s"],
                                    sections["characteristics"], sections["services"]))));
      sections.clear();
    };
    for (const std::string& line : input) {
      const std::size_t colon = line.find(": ");
      if (line == "--") {
        close();
      } else {
        sections[line.substr(0, colon)] += line.substr(colon + 2);
      }
    }
    close();
    const Outcome outcome = runTool(arguments);
    std::istringstream lines(replaced(outcome.out, folder.path(""), ""));
    std::string told;
    for (std::string line; std::getline(lines, line);) {
      const bool isFinding = line.find(": error[") != std::string::npos ||
                             line.find(": warning[") != std::string::npos;
      if (isFinding || line.starts_with("      hint:")) told += line + "\n";
    }
    return told + "exit " + std::to_string(outcome.exit);
  });
}

TEST(ProfileSurvey, saysWhatDecidedTheExitCode) {
  const std::string unused = "<enum name='E' format='int'><values/></enum>";
  struct Row {
    std::string enums;
    const char* failOn;
    const char* end;
  } const rows[] = {
      {"", "error", "accepted, with 0 warnings\nexit 0 (no findings)\n"},
      {unused, "error", "accepted, with 1 warning\nexit 0 (nothing at or above --fail-on)\n"},
      {unused, "warning", "accepted, with 1 warning\nexit 1 (findings)\n"},
      {unused + unused + "<enum/>", "error",
       "refused for 2 errors, with 2 warnings besides\nexit 4 (profile refused), also 1 "
       "(findings)\n"},
  };
  for (const Row& row : rows) {
    const TemporaryFolder folder;
    const std::string file = folder.write("p.xml", bytesOf(profileText(row.enums, "", "", "")));
    const Outcome outcome =
        runTool({"profile", "check", file, "--survey", "--fail-on", row.failOn});
    EXPECT_TRUE(outcome.out.ends_with(row.end)) << outcome.out;
  }
}

}  // namespace
}  // namespace qv::test
