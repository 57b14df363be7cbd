#include "tools/qvcheck/profile_command.h"

#include <filesystem>

#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/common/value_json.h"
#include "qvparsersupport/symbols/symbol_table.h"

#include "tools/qvcheck/output_files.h"
#include "tools/qvcheck/profile_header.h"
#include "tools/qvcheck/profile_loading.h"
#include "tools/qvcheck/profile_page.h"

namespace qv::check {

namespace {

// The file names without their folders, so that what is made does not depend on where it is made.
std::vector<std::string> baseNames(const std::vector<std::string>& files) {
  std::vector<std::string> names;
  names.reserve(files.size());
  for (const std::string& file : files) {
    names.push_back(std::filesystem::path(file).filename().string());
  }
  return names;
}

std::string headerText(const ProfileOutputOptions& options, std::ostream& err) {
  const ProfileHeader header = profileHeader(options.nameSpace, baseNames(options.files));
  for (const std::string& remark : header.remarks) err << "qvcheck: note: " << remark << '\n';
  return header.text;
}

std::string archiveText() {
  const Value archive = QVSymbolTable::sharedSymbolTable().archiveRepresentation();
  // Archives hold nothing that JSON cannot.
  return jsonText(jsonFormOf(archive).value(), {.indent = 2}) + "\n";
}

}  // namespace

int runProfileCheck(const ProfileCheckOptions& options, std::ostream& out, std::ostream& err,
                    bool outIsTerminal) {
  return writeReport(options.report, out, err, outIsTerminal, false, [&](Report& report) {
    RunRecord run;
    run.command = "profile check";
    for (const std::string& file : options.files) run.options.emplace_back("file", file);
    if (options.survey) run.options.emplace_back("survey", "true");
    report.run(run);
    if (options.survey) {
      surveyProfiles(options.files, report, err);
    } else {
      loadProfiles(options.files, report, err);
    }
    return report.finish(false);
  });
}

int runProfileOutput(const ProfileOutputOptions& options, std::ostream& out, std::ostream& err) {
  if (const auto exit = loadProfilesQuietly(options.files, err)) return *exit;
  switch (options.form) {
    case ProfileOutputOptions::Form::header:
      return writeContent(options.output, headerText(options, err), out, err);
    case ProfileOutputOptions::Form::page:
      return writeContent(options.output, profilePage(baseNames(options.files)), out, err);
    case ProfileOutputOptions::Form::archive:
      return writeContent(options.output, archiveText(), out, err);
  }
  return static_cast<int>(ExitCode::toolFault);
}

}  // namespace qv::check
