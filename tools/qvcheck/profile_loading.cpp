#include "tools/qvcheck/profile_loading.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>

#include "capture/byte_source.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/common/value_json.h"
#include "qvparsersupport/common/xml_reader.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "tools/qvcheck/escape.h"
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
  const SilentLog silence;
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

void reportRefusal(const Documents& documents, const std::optional<std::string>& reason,
                   Report& report) {
  const std::optional<QVLoadFault>& fault = QVSymbolTable::sharedSymbolTable().lastLoadFault();
  const XMLDocument* culprit = documents.empty() ? nullptr : documents.back().get();
  if (fault && fault->element != nullptr) {
    culprit = &fault->element->document();
  } else if (fault && fault->document != nullptr) {
    culprit = fault->document.get();
  }
  for (const auto& document : documents) {
    ProfileRecord record = recordOf(*document);
    record.accepted = document.get() != culprit;
    if (!record.accepted) record.text = reason;
    report.profile(record);
    if (!record.accepted) break;  // later documents were not read
  }
  Finding finding =
      refusal(report, std::string(ruleOfRefusal(textOrNull(reason))), textOrNull(reason));
  if (culprit != nullptr) {
    finding.location.name = culprit->name();
    std::shared_ptr<const XMLElement> place = culprit->rootElement();
    if (fault && fault->element != nullptr) {
      place = fault->element;
      finding.markup = place->markup();
    }
    const XMLPosition position = place->position();
    finding.location.line = position.line;
    finding.location.column = position.column;
    finding.location.byteOffset = position.byteOffset;
  }
  report.finding(finding);
}

}  // namespace

bool loadProfiles(const std::vector<std::string>& files, Report& report, std::ostream& err) {
  Documents documents;
  for (const std::string& file : files) {
    const std::optional<Bytes> bytes = readProfile(file, report, err);
    if (!bytes) return false;
    if (isArchive(*bytes)) {
      if (files.size() == 1) return loadArchive(file, *bytes, report);
      refuseFile(file, "profile.archive", "An archive is loaded alone, without other profiles", {},
                 report);
      return false;
    }
    documents.push_back(readDocument(file, *bytes, report));
    if (documents.back() == nullptr) return false;
  }
  const SilentLog silence;
  std::optional<std::string> reason;
  if (!QVSymbolTable::sharedSymbolTable().loadDocuments(documents, &reason)) {
    reportRefusal(documents, reason, report);
    return false;
  }
  for (const auto& document : documents) report.profile(recordOf(*document));
  return true;
}

std::optional<int> loadProfilesQuietly(const std::vector<std::string>& files, std::ostream& err) {
  TextReport complaints(err, {.quiet = true});
  Report report({&complaints}, Severity::error);
  if (loadProfiles(files, report, err)) return std::nullopt;
  return report.finish(false);
}

}  // namespace qv::check
