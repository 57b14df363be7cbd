#include "tools/qvcheck/profile_command.h"

#include <filesystem>
#include <set>

#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/common/value_json.h"
#include "qvparsersupport/symbols/symbol_table.h"

#include "tools/qvcheck/escape.h"
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

// Archives refer to characteristics by name. After several documents a name can stand for another
// characteristic than the one that a service lists; that is told once for each characteristic.
class ReferenceCheck {
 public:
  explicit ReferenceCheck(std::ostream& err) : err_(err) {}

  void check(const std::shared_ptr<QVServiceXMLObject>& service) {
    if (service == nullptr) return;
    checkList(*service, service->required());
    checkList(*service, service->optional());
  }

 private:
  void checkList(const QVServiceXMLObject& service,
                 const DefinitionList<QVCharacteristicXMLObject>& list) {
    if (list == nullptr) return;
    for (const auto& instance : *list) {
      const auto parent = instance->parent();
      if (!checked_.insert(parent.get()).second) continue;
      const auto name = instance->nameView();
      if (name && QVSymbolTable::sharedSymbolTable().parentCharacteristicWithRef(*name) == parent) {
        continue;
      }
      err_ << "qvcheck: warning: service '" << escapedShort(service.nameView().value_or(""))
           << "' refers to characteristic '" << escapedShort(name.value_or(""))
           << "', but in the archive that name means another one\n";
    }
  }

  std::ostream& err_;
  std::set<const QVCharacteristicXMLObject*> checked_;
};

void checkReferences(std::ostream& err) {
  ReferenceCheck references(err);
  for (const auto& service : *QVSymbolTable::sharedSymbolTable().services()) {
    references.check(service->ip());
    references.check(service->btle());
  }
}

// A text that names of a megabyte, referred to again and again, make larger is none for a file.
constexpr std::size_t kLargestArchive = std::size_t{1} << 30;

int writeArchive(const std::string& file, std::ostream& out, std::ostream& err) {
  checkReferences(err);
  const Value archive = QVSymbolTable::sharedSymbolTable().archiveRepresentation();
  // Archives hold nothing that JSON cannot.
  std::string text =
      jsonText(jsonFormOf(archive).value(), {.indent = 2, .maximumBytes = kLargestArchive});
  if (!text.ends_with('}')) {  // it was cut
    err << "qvcheck: the archive would have more than " << kLargestArchive << " bytes\n";
    return static_cast<int>(ExitCode::toolFault);
  }
  text.push_back('\n');
  return writeContent(file, text, out, err);
}

RunRecord runRecord(const ProfileCheckOptions& options) {
  RunRecord run;
  run.command = "profile check";
  for (const std::string& file : options.files) run.options.emplace_back("file", file);
  if (options.survey) run.options.emplace_back("survey", "true");
  return run;
}

}  // namespace

int runProfileCheck(const ProfileCheckOptions& options, std::ostream& out, std::ostream& err,
                    bool outIsTerminal) {
  const auto check = [&](Report& report, OutputFiles&) {
    report.run(runRecord(options));
    if (options.survey) {
      surveyProfiles(options.files, report, err);
    } else {
      loadProfiles(options.files, report, err);
    }
    return report.finish(false);
  };
  return writeReport(options.report, out, err, outIsTerminal, false, check);
}

int runProfileOutput(const ProfileOutputOptions& options, std::ostream& out, std::ostream& err) {
  if (const auto exit = loadProfilesQuietly(options.files, err)) return *exit;
  switch (options.form) {
    case ProfileOutputOptions::Form::header:
      return writeContent(options.output, headerText(options, err), out, err);
    case ProfileOutputOptions::Form::page:
      return writeContent(options.output, profilePage(baseNames(options.files)), out, err);
    case ProfileOutputOptions::Form::archive:
      return writeArchive(options.output, out, err);
  }
  return static_cast<int>(ExitCode::toolFault);
}

}  // namespace qv::check
