#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

#include "qvparsersupport/transformers/tlv8_transformers.h"
#include "qvparsersupport/transformers/value_checks.h"

namespace qv {

namespace {

constexpr std::uint8_t kSeparatorType = 0xFF;

// The first definition of each field type, so that a packet is checked in linear time.
class FieldTable {
 public:
  explicit FieldTable(const QVTLV8XMLObject& definition) {
    if (definition.fields() == nullptr) return;
    for (const auto& field : *definition.fields()) {
      if (field != nullptr && rows_[field->type()] == nullptr) rows_[field->type()] = &field;
    }
  }
  // Null when the type has no definition.
  std::shared_ptr<QVTLV8FieldXMLObject> find(std::uint8_t type) const {
    return rows_[type] != nullptr ? *rows_[type] : nullptr;
  }

 private:
  std::array<const std::shared_ptr<QVTLV8FieldXMLObject>*, 256> rows_{};
};

struct FormatWords {
  QVFormatType format;
  const char* expected;
};

constexpr FormatWords kEncodings[] = {
    {QVFormatType::integer, "1, 2, 4 or 8 bytes"},
    {QVFormatType::uint8, "1 byte"},
    {QVFormatType::uint16, "2 bytes"},
    {QVFormatType::uint32, "4 bytes"},
    {QVFormatType::uint64, "8 bytes"},
    {QVFormatType::floatingPoint, "4 bytes"},
    {QVFormatType::string, "UTF-8 text without null characters"},
};

std::string expectedEncoding(QVFormatType format) {
  for (const FormatWords& row : kEncodings) {
    if (row.format == format) return row.expected;
  }
  return "a value";
}

std::string countInWords(std::size_t count) {
  return fmt::format("{} byte{}", count, count == 1 ? "" : "s");
}

std::string atMostInWords(const Number& maximum) {
  return fmt::format("at most {} byte{}", maximum.text(), maximum == Number::int64(1) ? "" : "s");
}

std::string bytesInWords(const std::optional<ByteView>& bytes) {
  constexpr std::size_t kShown = 16;
  if (!bytes) return "no value";
  if (bytes->empty()) return countInWords(0);
  const ByteView shown = bytes->first(std::min(bytes->size(), kShown));
  return fmt::format("{}: {:02x}{}", countInWords(bytes->size()), fmt::join(shown, " "),
                     shown.size() < bytes->size() ? " ..." : "");
}

std::string valueInWords(const std::optional<Value>& value) {
  if (!value || value->isNull()) return "no value";
  if (const auto number = value->asNumber()) return number->text();
  if (const auto text = value->asString()) return fmt::format("\"{}\"", *text);
  if (const auto bytes = value->asBytes()) return bytesInWords(bytes);
  return "";
}

QVTLV8Fault faultOf(std::string_view rule, std::string text, std::string expected,
                    std::string actual) {
  QVTLV8Fault fault;
  fault.rule = rule;
  fault.text = std::move(text);
  fault.expected = std::move(expected);
  fault.actual = std::move(actual);
  return fault;
}

std::string invalidFieldText(std::uint8_t type, const std::optional<std::string>& reason) {
  return fmt::format("Field 0x{:02x} is invalid: {}", type, textOrNull(reason));
}

}  // namespace

std::optional<QVTLV8Fault> QVTLV8Transformer::firstFault(
    const QVTLV8Packet& packet, const QVTLV8XMLObject& tlv8Definition) const {
  const QVTLV8FieldList fields = packet.fields();
  if (fields == nullptr) return std::nullopt;
  const FieldTable table(tlv8Definition);
  for (std::size_t i = 0; i < fields->size(); ++i) {
    const QVTLV8Field& field = (*fields)[i];
    const std::shared_ptr<QVTLV8FieldXMLObject> definition = table.find(field.type());
    // Deliberate: the separator type passes, with or without a definition.
    if (field.type() == kSeparatorType) continue;
    std::optional<QVTLV8Fault> fault = faultOfField(field, definition.get());
    if (!fault) continue;
    fault->fieldIndex = i;
    fault->definition = definition;
    return fault;
  }
  return std::nullopt;
}

std::optional<QVTLV8Fault> QVTLV8Transformer::faultOfField(const QVTLV8Field& field,
                                                           const QVTLV8FieldXMLObject* definition) {
  const std::uint8_t type = field.type();
  if (definition == nullptr) {
    return faultOf("tlv8.unknown-field",
                   fmt::format("Unknown field type 0x{:02x} provided in TLV8.", type),
                   "a field type of the structure", fmt::format("0x{:02x}", type));
  }
  const auto transformer = std::dynamic_pointer_cast<const QVTLV8Transformer>(
      transformerForTransport(QVTransport::tlv8, definition->format()));
  if (transformer == nullptr) {
    return faultOf("tlv8.unknown-format",
                   fmt::format("Unknown TLV8 field format for field 0x{:02x}", type),
                   "a format that a TLV8 field can have",
                   fmt::format("format {}", static_cast<std::int64_t>(definition->format())));
  }
  std::optional<Value> encoded;
  if (field.value()) encoded = Value::bytes(*field.value());
  std::optional<std::string> decodingError;
  const auto decoded = transformer->reverseTransformValue(encoded, &decodingError);
  if (!decoded || decodingError) {
    return faultOf("tlv8.field-value", invalidFieldText(type, decodingError),
                   expectedEncoding(definition->format()), bytesInWords(field.value()));
  }
  std::optional<QVTLV8Fault> fault = transformer->faultOfFieldValue(decoded, *definition);
  if (fault) fault->text = invalidFieldText(type, fault->text);
  return fault;
}

std::optional<QVTLV8Fault> QVTLV8Transformer::faultOfFieldValue(
    const std::optional<Value>& value, const QVTLV8FieldXMLObject& definition) const {
  std::optional<std::string> error;
  const std::optional<Value> encoded = requireEncoded(*this, value, &error);
  if (!encoded) return faultOf("tlv8.field-encoding", textOrNull(error), "", valueInWords(value));

  std::optional<std::uint64_t> length;
  if (const auto bytes = encoded->asBytes()) length = bytes->size();
  if (!checkLength(length, definition.maximumLength(), &error)) {
    return faultOf("tlv8.field-length", textOrNull(error),
                   atMostInWords(*definition.maximumLength()),
                   length ? countInWords(*length) : "no length");
  }
  if (!checkEnum(value, definition.enumObject(), &error)) {
    return faultOf(
        "tlv8.field-enum", textOrNull(error),
        fmt::format("a value of the enum {}", textOrNull(definition.enumObject()->name())),
        valueInWords(value));
  }
  return std::nullopt;
}

}  // namespace qv
