#include "tools/qvcheck/profile_loading.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>

#include "capture/io/byte_source.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/common/value_json.h"
#include "qvparsersupport/common/xml_reader.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "tools/qvcheck/command_family.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/profile_survey.h"
#include "tools/qvcheck/report_texts.h"
#include "tools/qvcheck/survey_findings.h"
#include "tools/qvcheck/text_report.h"
#include "tools/qvcheck/tool_rules.h"

namespace qv::check {

namespace {

using Documents = std::vector<std::shared_ptr<const XMLDocument>>;

// Keeps the process log quiet as long as it lives: the report tells everything, with its place.
struct SilentLog {
  SilentLog() {
    setProcessLogSink([](std::string_view) {});
  }
  ~SilentLog() { setProcessLogSink({}); }
  SilentLog(const SilentLog&) = delete;
  SilentLog& operator=(const SilentLog&) = delete;
};

Finding refusal(const Report& report, std::string rule, std::string text) {
  Finding finding;
  finding.finding = report.nextFinding();
  finding.rule = std::move(rule);
  finding.text = std::move(text);
  return finding;
}

std::size_t countOf(const XMLDocument& document, const char* section, const char* element) {
  const XMLElement* parent = document.rootElement()->firstChildNamed(section);
  return parent == nullptr ? 0 : parent->childrenNamed(element).size();
}

ProfileRecord recordOf(const XMLDocument& document) {
  ProfileRecord record;
  record.file = document.name();
  record.accepted = true;
  record.enums = countOf(document, "enums", "enum");
  record.tlv8s = countOf(document, "tlv8s", "tlv8");
  record.characteristics = countOf(document, "characteristics", "characteristic");
  record.services = countOf(document, "services", "service");
  return record;
}

std::optional<Bytes> readFile(const std::string& file, std::optional<std::string>& error) {
  const auto source = capture::FileSource::open(file, &error);
  if (source == nullptr) return std::nullopt;
  Bytes bytes;
  constexpr std::size_t kPiece = 1 << 16;
  for (std::size_t got = kPiece; got > 0;) {
    const std::size_t before = bytes.size();
    bytes.resize(before + kPiece);
    got = source->read(std::span(bytes).subspan(before));
    bytes.resize(before + got);
  }
  error = source->error();
  if (error) return std::nullopt;
  return bytes;
}

// The file's bytes, or null when it is unreadable, which is told.
std::optional<Bytes> readProfile(const std::string& file, Report& report, std::ostream& err) {
  std::optional<std::string> error;
  std::optional<Bytes> bytes = readFile(file, error);
  if (!bytes) {
    err << "qvcheck: " << escaped(file) << ": " << textOrNull(error) << '\n';
    report.noteOutcome(ExitCode::inputDamaged);
    report.noteIncomplete();
  }
  return bytes;
}

// Reports a file as refused, at a place in it.
void refuseFile(const std::string& file, std::string_view rule, const std::string& text,
                const XMLPosition& position, Report& report) {
  ProfileRecord record;
  record.file = file;
  record.text = text;
  report.profile(record);
  Finding finding = refusal(report, std::string(rule), text);
  finding.fromTool = ruleForText(text) == nullptr;
  finding.location.name = file;
  finding.location.line = position.line;
  finding.location.column = position.column;
  finding.location.byteOffset = position.byteOffset;
  report.finding(finding);
}

bool isArchive(const Bytes& bytes) {
  const std::size_t first = textOf(bytes).find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && bytes[first] == '{';
}

constexpr const char* kArchiveKeys[] = {"enums", "tlv8s", "characteristics", "services"};

ProfileRecord recordOfTable(const std::string& file) {
  const auto count = [](const auto& list) { return list == nullptr ? 0 : list->size(); };
  const QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  ProfileRecord record;
  record.file = file;
  record.accepted = true;
  record.enums = count(table.enums());
  record.tlv8s = count(table.tlv8s());
  record.characteristics = count(table.characteristics());
  record.services = count(table.services());
  return record;
}

// The archive that the bytes hold, or null when they hold none, which is told.
std::optional<Value> readArchive(const std::string& file, const Bytes& bytes, Report& report) {
  const JSONParseResult parsed = parseJSON(bytes);
  if (!parsed.value) {
    refuseFile(file, "profile.json", parsed.error, {0, 0, parsed.errorOffset}, report);
    return std::nullopt;
  }
  const bool isKnown =
      std::any_of(std::begin(kArchiveKeys), std::end(kArchiveKeys),
                  [&](const char* key) { return parsed.value->find(key).has_value(); });
  std::optional<std::string> error = "This JSON is no archive of profiles";
  auto archive = isKnown ? valueOfJSONForm(*parsed.value, &error) : std::nullopt;
  if (!archive) refuseFile(file, "profile.archive", textOrNull(error), {}, report);
  return archive;
}

bool loadArchive(const std::string& file, const Bytes& bytes, Report& report) {
  const std::optional<Value> archive = readArchive(file, bytes, report);
  if (!archive) return false;
  std::optional<std::string> reason;
  auto& table = QVSymbolTable::sharedSymbolTable();
  if (!table.loadArchivedRepresentation(*archive, &reason)) {
    refuseFile(file, ruleOfRefusal(textOrNull(reason)), textOrNull(reason), {}, report);
    return false;
  }
  report.profile(recordOfTable(file));
  return true;
}

// The document, or null when the bytes are no XML, which is told.
std::shared_ptr<const XMLDocument> readDocument(const std::string& file, const Bytes& bytes,
                                                Report& report) {
  XMLParseResult parsed = parseXML(bytes, file);
  if (parsed.document == nullptr) {
    refuseFile(file, "profile.xml", parsed.error, parsed.position, report);
  }
  return parsed.document;
}

// The document that a load stopped in.
const XMLDocument* culpritOf(const Documents& documents, const QVLoadFault& fault) {
  if (fault.element != nullptr) return &fault.element->document();
  if (fault.document != nullptr) return fault.document.get();
  return documents.empty() ? nullptr : documents.back().get();
}

// One record for each document that was read, the refused one last.
void reportDocuments(const Documents& documents, const std::optional<QVLoadFault>& fault,
                     Report& report) {
  const XMLDocument* const culprit = fault ? culpritOf(documents, *fault) : nullptr;
  for (const auto& document : documents) {
    ProfileRecord record = recordOf(*document);
    record.accepted = document.get() != culprit;
    if (!record.accepted) record.text = fault->reason;
    report.profile(record);
    if (!record.accepted) break;
  }
}

Finding findingOf(const Documents& documents, const QVLoadFault& fault, const Report& report) {
  Finding finding = refusal(report, std::string(ruleOfRefusal(fault.reason)), fault.reason);
  const XMLDocument* const culprit = culpritOf(documents, fault);
  if (culprit == nullptr) return finding;
  finding.location.name = culprit->name();
  if (fault.element != nullptr) finding.markup = markupToShow(*fault.element);
  const XMLPosition position =
      fault.element != nullptr ? fault.element->position() : culprit->rootElement()->position();
  finding.location.line = position.line;
  finding.location.column = position.column;
  finding.location.byteOffset = position.byteOffset;
  return finding;
}

// What the library says to the documents, with a record for each; null when it accepts them.
std::optional<QVLoadFault> loadDocuments(const Documents& documents, Report& report) {
  auto& table = QVSymbolTable::sharedSymbolTable();
  std::optional<QVLoadFault> fault;
  std::optional<std::string> reason;
  if (!table.loadDocuments(documents, &reason)) {
    fault = table.lastLoadFault().value_or(QVLoadFault{textOrNull(reason), nullptr, nullptr});
  }
  reportDocuments(documents, fault, report);
  return fault;
}

// Reads the files; hands an archive to `restore`. Null when there is nothing left to load.
std::optional<Documents> readDocuments(
    const std::vector<std::string>& files, Report& report, std::ostream& err,
    const std::function<void(const std::string& file, const Bytes& archive)>& restore) {
  Documents documents;
  for (const std::string& file : files) {
    const std::optional<Bytes> bytes = readProfile(file, report, err);
    if (!bytes) return std::nullopt;
    if (isArchive(*bytes)) {
      restore(file, *bytes);
      return std::nullopt;
    }
    documents.push_back(readDocument(file, *bytes, report));
    if (documents.back() == nullptr) return std::nullopt;
  }
  return documents;
}

}  // namespace

bool loadProfiles(const std::vector<std::string>& files, Report& report, std::ostream& err) {
  const SilentLog silence;
  bool restored = false;
  const auto documents =
      readDocuments(files, report, err, [&](const std::string& file, const Bytes& archive) {
        if (files.size() == 1) {
          restored = loadArchive(file, archive, report);
        } else {
          refuseFile(file, "profile.archive", "An archive is loaded alone, without other profiles",
                     {}, report);
        }
      });
  if (!documents) return restored;
  const std::optional<QVLoadFault> fault = loadDocuments(*documents, report);
  if (fault) {
    report.finding(findingOf(*documents, *fault, report));
    report.setAdvice("qvcheck profile check --survey tells every fault");
  }
  return !fault;
}

bool surveyProfiles(const std::vector<std::string>& files, Report& report, std::ostream& err) {
  const SilentLog silence;
  const auto documents =
      readDocuments(files, report, err, [&](const std::string& file, const Bytes&) {
        err << usageError("--survey: " + file + " is an archive, which has no places to survey")
                   .text
            << helpAdvice("profile check");
        report.noteOutcome(ExitCode::usage);
      });
  if (!documents) return false;
  const std::optional<QVLoadFault> fault = loadDocuments(*documents, report);
  std::size_t counts[3] = {};
  for (Finding& finding : surveyOf(*documents, fault)) {
    finding.finding = report.nextFinding();
    ++counts[static_cast<std::size_t>(finding.severity)];
    report.finding(finding);
  }
  const std::string errors = counted(counts[static_cast<std::size_t>(Severity::error)], "error");
  const std::string warnings =
      counted(counts[static_cast<std::size_t>(Severity::warning)], "warning");
  report.setVerdict(fault ? "refused for " + errors + ", with " + warnings + " besides"
                          : "accepted, with " + warnings);
  return !fault;
}

std::optional<int> loadProfilesQuietly(const std::vector<std::string>& files, std::ostream& err) {
  TextReport complaints(err, {.quiet = true});
  Report report({&complaints}, Severity::error);
  if (loadProfiles(files, report, err)) return std::nullopt;
  return report.finish(false);
}

}  // namespace qv::check
