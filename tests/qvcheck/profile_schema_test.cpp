// docs/profile.xsd, asked by xmllint, beside what the library says to the same profiles.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>

#include "qvparsersupport/symbols/symbol_table.h"
#include "tests/support/expectations.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/xml_fragment.h"

namespace qv::test {
namespace {

// What the schema says to each file: "valid" or its first complaint.
std::map<std::string, std::string> schemaVerdicts(const std::vector<std::string>& files) {
  std::string command = QV_XMLLINT " --noout --schema " QV_SOURCE_DIR "/docs/profile.xsd";
  for (const std::string& file : files) command += " '" + file + "'";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((command + " 2>&1").c_str(), "r"), pclose);
  std::string output;
  char piece[4096];
  while (std::fgets(piece, sizeof piece, pipe.get()) != nullptr) output += piece;

  std::map<std::string, std::string> verdicts;
  std::istringstream lines(output);
  const std::string mark = "Schemas validity error : ";
  for (std::string line; std::getline(lines, line);) {
    const std::string file = line.substr(0, line.find_first_of(": ", line.rfind('/')));
    const std::size_t at = line.find(mark);
    if (at != std::string::npos) verdicts.emplace(file, line.substr(at + mark.size()));
    if (line == file + " validates") verdicts.emplace(file, "valid");
  }
  return verdicts;
}

std::string libraryVerdict(const std::string& profile) {
  const std::vector documents = {documentFrom(profile)};
  std::optional<std::string> error;
  auto& table = QVSymbolTable::sharedSymbolTable();
  return table.loadDocuments(documents, &error) ? "loaded" : error.value_or("(null)");
}

std::string profileOf(const std::string& section, const std::string& xml) {
  if (section == "profile") return xml;
  const auto in = [&](const char* name) { return section == name ? xml : ""; };
  return profileText(in("enums"), in("tlv8s"), in("characteristics"), in("services"));
}

TEST(ProfileSchema, agreesWithTheLibraryButForWhatIsListed) {
  const TemporaryFolder folder;
  const std::string cases = "profiles/schema.txt";
  std::vector<std::string> profiles;
  std::vector<std::string> files;
  std::string section;
  for (const Case& input : casesIn(cases)) {
    if (input[0].starts_with("== ")) section = input[0].substr(3);
    profiles.push_back(profileOf(section, input[0]));
    files.push_back(folder.write(std::to_string(files.size()) + ".xml", bytesOf(profiles.back())));
  }
  const auto verdicts = schemaVerdicts(files);
  std::size_t at = 0;
  expectAnswers(cases, [&](const Case& input) -> std::string {
    const std::size_t here = at++;
    if (input[0].starts_with("== ")) return "";
    return "schema: " + verdicts.at(files[here]) + "\nlibrary: " + libraryVerdict(profiles[here]);
  });
}

TEST(ProfileSchema, takesEveryProfileOfTheProject) {
  std::vector<std::string> files = {QV_SOURCE_DIR "/tests/captures/traffic/pairing.xml"};
  for (const auto& entry :
       std::filesystem::directory_iterator(QV_SOURCE_DIR "/examples/profiles")) {
    files.push_back(entry.path().string());
  }
  const std::string page = contentOf(QV_SOURCE_DIR "/docs/profiles.md");
  const std::size_t start = page.find("```xml\n") + 7;
  const TemporaryFolder folder;
  files.push_back(
      folder.write("page.xml", bytesOf(page.substr(start, page.find("```", start) - start))));
  const auto verdicts = schemaVerdicts(files);
  for (const std::string& file : files) EXPECT_EQ(verdicts.at(file), "valid") << file;
}

}  // namespace
}  // namespace qv::test
