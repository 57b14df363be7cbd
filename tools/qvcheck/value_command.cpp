#include "tools/qvcheck/value_command.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>

#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/transformers/tlv8_transformers.h"
#include "qvparsersupport/vocabulary/format_strings.h"
#include "tools/qvcheck/command_family.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/near_names.h"
#include "tools/qvcheck/profile_index.h"
#include "tools/qvcheck/profile_loading.h"
#include "tools/qvcheck/report_texts.h"

namespace qv::check {

namespace {

// What the value belongs to.
struct Subject {
  std::string name;
  QVFormatType format = QVFormatType::none;
  std::shared_ptr<QVCharacteristicXMLObject> characteristic;  // null for a field
  std::shared_ptr<QVTLV8FieldXMLObject> field;                // null for a characteristic
};

std::string nameOf(QVFormatType format) {
  return std::string(QVFormatStrings::stringForFormatType(format).value_or("no format"));
}

std::string hexOf(ByteView bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    fmt::format_to(std::back_inserter(text), "{}{:02x}", text.empty() ? "" : " ", byte);
  }
  return text;
}

// The bytes, blanks between them aside; null for anything else.
std::optional<Bytes> bytesOfHex(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  Bytes bytes;
  bool half = false;
  for (const char c : text) {
    if (c == ' ' && !half) continue;
    const std::size_t digit =
        kDigits.find(c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c);
    if (digit == std::string_view::npos) return std::nullopt;
    if (!half) bytes.push_back(0);
    bytes.back() = static_cast<std::uint8_t>(std::size_t{bytes.back()} * 16 + digit);
    half = !half;
  }
  return half ? std::nullopt : std::optional(std::move(bytes));
}

// The field of "STRUCTURE/FIELD"; either part may hold slashes, the shortest structure counts.
std::optional<Subject> findField(const std::string& ref) {
  const QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  for (std::size_t at = ref.find('/'); at != std::string::npos; at = ref.find('/', at + 1)) {
    const auto structure = table.tlv8WithName(ref.substr(0, at));
    if (structure == nullptr || structure->fields() == nullptr) continue;
    for (const auto& field : *structure->fields()) {
      if (field->name() != ref.substr(at + 1)) continue;
      return Subject{fmt::format("field '{}'", ref), field->format(), nullptr, field};
    }
  }
  return std::nullopt;
}

std::optional<Subject> findSubject(const std::string& ref, QVTransport transport) {
  if (transport == QVTransport::tlv8) return findField(ref);
  // By the parent: the instances of earlier documents are not in the list that is searched by
  // transport.
  const auto parent = QVSymbolTable::sharedSymbolTable().parentCharacteristicWithRef(ref);
  if (parent == nullptr) return std::nullopt;
  auto instance = transport == QVTransport::ip ? parent->ip() : parent->btle();
  if (instance == nullptr) return std::nullopt;
  const QVFormatType format = instance->format();
  return Subject{fmt::format("characteristic '{}' over {}", textOrNull(instance->name()),
                             QVTypes::nameOfTransport(transport)),
                 format, std::move(instance), nullptr};
}

// Every "STRUCTURE/FIELD".
std::vector<std::string> fieldRefs() {
  std::vector<std::string> refs;
  for (const auto& structure : itemsOf(QVSymbolTable::sharedSymbolTable().tlv8s())) {
    for (const auto& field : itemsOf(structure->fields())) {
      refs.push_back(textOrNull(structure->name()) + "/" + textOrNull(field->name()));
    }
  }
  return refs;
}

// The names and UTIs of what the transport carries.
std::vector<std::string> refsOver(QVTransport transport) {
  if (transport == QVTransport::tlv8) return fieldRefs();
  std::vector<std::string> refs;
  for (const auto& parent : itemsOf(QVSymbolTable::sharedSymbolTable().characteristics())) {
    const auto instance = transport == QVTransport::ip ? parent->ip() : parent->btle();
    if (instance == nullptr) continue;
    if (const auto name = instance->name()) refs.push_back(*name);
    if (const auto uti = instance->uti()) refs.push_back(*uti);
  }
  return refs;
}

// What there is instead of what was not found.
std::string adviceFor(const ValueOptions& options) {
  for (const auto& [transport, word] : {std::pair{QVTransport::ip, "ip"},
                                        {QVTransport::btle, "btle"},
                                        {QVTransport::tlv8, "tlv8"}}) {
    if (transport != options.transport && findSubject(options.ref, transport)) {
      return fmt::format("there is one with --transport {}", word);
    }
  }
  return didYouMean(nearNames(options.ref, refsOver(options.transport)));
}

bool isOfBytes(QVFormatType format) {
  return format == QVFormatType::data || format == QVFormatType::tlv8;
}

// The argument as a value; null, with what is wrong with it, when it cannot be read.
std::optional<Value> readArgument(const ValueOptions& options, const Subject& subject,
                                  std::string& wrong) {
  const bool isBytes =
      options.encode ? isOfBytes(subject.format) : options.transport != QVTransport::ip;
  if (isBytes) {
    const auto bytes = bytesOfHex(options.value);
    if (!bytes) wrong = "VALUE: '" + options.value + "' is not a row of hexadecimal bytes";
    return bytes ? std::optional(Value::bytes(*bytes)) : std::nullopt;
  }
  JSONParseResult parsed = parseJSON(bytesOf(options.value));
  if (!parsed.value) wrong = "VALUE: no JSON: " + parsed.error;
  return std::move(parsed.value);
}

std::string shownText(const Value& value) {
  const auto bytes = value.asBytes();
  return bytes ? hexOf(*bytes) : jsonText(value);
}

// Whether an encoded form that reads as `again` keeps the value. Floats have 32 bits once they are
// encoded, so the nearest of those is the same value. Fields are encoded in one canonical form,
// whatever the form given.
bool keepsValue(const Value& given, const Value& again) {
  const auto number = given.asNumber();
  const auto read = again.asNumber();
  if (number && read && read->isFloatKind()) {
    return std::isfinite(read->doubleValue()) && read->floatValue() == number->floatValue();
  }
  return again == given || again.asObject() != nullptr;
}

// Shows results and collects what fails.
class ValueReport {
 public:
  explicit ValueReport(std::ostream& out) : out_(out) {}

  void line(std::string_view label, const std::string& text) {
    out_ << fmt::format("{:<9}{}\n", fmt::format("{}:", label), escaped(text));
  }
  void fault(const std::optional<std::string>& text) {
    if (text && text == last_) return;  // the transformer and the check may say the same
    last_ = text;
    failed_ = true;
    line("fault", textOrNull(text));
  }
  void shown(std::string_view label, const Value& value) {
    if (const auto packet = std::dynamic_pointer_cast<const QVTLV8Packet>(value.asObject())) {
      line(label, counted(packet->fields() ? packet->fields()->size() : 0, "field"));
    } else {
      line(label, shownText(value));
    }
  }
  int finish() {
    if (!failed_) out_ << "ok\n";
    return static_cast<int>(failed_ ? ExitCode::findings : ExitCode::clean);
  }

 private:
  std::ostream& out_;
  std::optional<std::string> last_;
  bool failed_ = false;
};

// The fields of a packet, each decoded as far as the structure knows it.
void showFields(const QVTLV8Packet& packet, const QVTLV8XMLObject* structure, ValueReport& report) {
  if (packet.fields() == nullptr) return;
  for (const QVTLV8Field& field : *packet.fields()) {
    const std::string type = fmt::format("  0x{:02x}", field.type());
    const std::string bytes = hexOf(field.value().value_or(ByteView()));
    std::shared_ptr<QVTLV8FieldXMLObject> definition;
    if (structure != nullptr && structure->fields() != nullptr) {
      for (const auto& candidate : *structure->fields()) {
        if (definition == nullptr && candidate->type() == field.type()) definition = candidate;
      }
    }
    const auto transformer = definition == nullptr ? nullptr
                                                   : QVTransformer::transformerForTransport(
                                                         QVTransport::tlv8, definition->format());
    const auto value =
        transformer == nullptr
            ? std::nullopt
            : transformer->reverseTransformValue(Value::bytes(field.value().value_or(ByteView())));
    if (!value || value->isBytes()) {
      report.line(type,
                  definition == nullptr ? bytes : textOrNull(definition->name()) + " = " + bytes);
    } else {
      report.line(type, fmt::format("{} = {} ({})", textOrNull(definition->name()),
                                    jsonText(*value), bytes));
    }
  }
}

bool validate(const QVTransformer& transformer, const Value& value, const Subject& subject,
              ErrorSlot error) {
  if (subject.characteristic != nullptr) {
    return transformer.validateValue(value, *subject.characteristic, error);
  }
  return dynamic_cast<const QVTLV8Transformer&>(transformer)
      .validateValue(value, *subject.field, error);
}

// Encoding cuts off silently what the format has no room for; reading the result tells.
void checkEncoded(const QVTransformer& transformer, const Value& given, const Value& encoded,
                  ValueReport& report) {
  const auto again = transformer.reverseTransformValue(encoded);
  if (!again) {
    report.fault("the encoded form cannot be decoded");
  } else if (!keepsValue(given, *again)) {
    report.fault(fmt::format("the encoded form stands for {}, not for {}", shownText(*again),
                             shownText(given)));
  }
}

int convert(const ValueOptions& options, const Subject& subject, const Value& given,
            std::ostream& out) {
  ValueReport report(out);
  report.line("of", fmt::format("{}, format {}", subject.name, nameOf(subject.format)));
  const auto transformer =
      QVTransformer::transformerForTransport(options.transport, subject.format);
  if (transformer == nullptr) {
    report.fault("No transformer for this transport and format");
    return report.finish();
  }
  std::optional<std::string> error;
  const auto result = options.encode ? transformer->transformValue(given, &error)
                                     : transformer->reverseTransformValue(given, &error);
  report.shown(options.encode ? "value" : "encoded", given);
  if (result) report.shown(options.encode ? "encoded" : "value", *result);
  const auto packet =
      result ? std::dynamic_pointer_cast<const QVTLV8Packet>(result->asObject()) : nullptr;
  if (packet != nullptr) {
    showFields(*packet, subject.characteristic->tlv8Definition().get(), report);
  }
  if (error) report.fault(error);
  if (options.encode && result && !error) checkEncoded(*transformer, given, *result, report);
  if (!result && !error) report.fault("The value cannot be read as this format");
  // What the checks look at is the value; without one there is nothing left to check.
  const Value* const value = options.encode ? &given : result ? &*result : nullptr;
  std::optional<std::string> fault;
  if (value != nullptr && !validate(*transformer, *value, subject, &fault)) report.fault(fault);
  return report.finish();
}

}  // namespace

int runValue(const ValueOptions& options, std::ostream& out, std::ostream& err) {
  if (const auto exit = loadProfilesQuietly(options.profiles, err)) return *exit;
  const auto refuse = [&](const std::string& text) {
    const Answer answer = usageError(text);
    err << answer.text << helpAdvice(options.encode ? "value encode" : "value decode");
    return static_cast<int>(answer.exit);
  };
  const std::optional<Subject> subject = findSubject(options.ref, options.transport);
  if (!subject) {
    const std::string advice = adviceFor(options);
    const std::string missing =
        options.transport == QVTransport::tlv8
            ? "--ref: no profile has a structure and field '" + options.ref + "'"
            : fmt::format("--ref: no profile has a characteristic '{}' over {}", options.ref,
                          QVTypes::nameOfTransport(options.transport));
    return refuse(missing + (advice.empty() ? "" : "; ") + advice);
  }
  std::string wrong;
  const std::optional<Value> given = readArgument(options, *subject, wrong);
  if (!given) return refuse(wrong);
  return convert(options, *subject, *given, out);
}

}  // namespace qv::check
