#include "tools/qvcheck/profile_loading.h"

#include <memory>
#include <optional>

#include "capture/byte_source.h"
#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/common/xml_reader.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/tool_rules.h"

namespace qv::check {

namespace {

using Documents = std::vector<std::shared_ptr<const XMLDocument>>;

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

// The documents, or null when one of them is unreadable or no XML.
std::optional<Documents> readDocuments(const std::vector<std::string>& files, Report& report,
                                       std::ostream& err) {
  Documents documents;
  for (const std::string& file : files) {
    std::optional<std::string> error;
    const std::optional<Bytes> bytes = readFile(file, error);
    if (!bytes) {
      err << "qvcheck: " << escaped(file) << ": " << textOrNull(error) << '\n';
      report.noteOutcome(ExitCode::inputDamaged);
      report.noteIncomplete();
      return std::nullopt;
    }
    XMLParseResult parsed = parseXML(*bytes, file);
    if (parsed.document != nullptr) {
      documents.push_back(std::move(parsed.document));
      continue;
    }
    ProfileRecord record;
    record.file = file;
    record.text = parsed.error;
    report.profile(record);
    Finding finding = refusal(report, "profile.xml", parsed.error);
    finding.fromTool = true;
    finding.location.name = file;
    finding.location.line = parsed.position.line;
    finding.location.column = parsed.position.column;
    finding.location.byteOffset = parsed.position.byteOffset;
    report.finding(finding);
    return std::nullopt;
  }
  return documents;
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
  const std::optional<Documents> documents = readDocuments(files, report, err);
  if (!documents) return false;
  setProcessLogSink([](std::string_view) {});  // the report tells it, with the place
  std::optional<std::string> reason;
  const bool loaded = QVSymbolTable::sharedSymbolTable().loadDocuments(*documents, &reason);
  setProcessLogSink({});
  if (!loaded) {
    reportRefusal(*documents, reason, report);
    return false;
  }
  for (const auto& document : *documents) report.profile(recordOf(*document));
  return true;
}

}  // namespace qv::check
