#include "tools/qvcheck/tlv8_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/definitions/enum_xml_object.h"
#include "qvparsersupport/transformers/transformer.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/excerpt.h"
#include "tools/qvcheck/report_texts.h"

namespace qv::check {

namespace {

constexpr std::uint8_t kSeparator = 0xFF;
constexpr std::size_t kMostRows = 8;
constexpr std::size_t kMostBytesInLine = 12;
constexpr std::size_t kWidestName = 24;
constexpr std::size_t kDeepestStructure = 4;  // of structures within structures that are shown

using Definitions = std::array<const QVTLV8FieldXMLObject*, 256>;

// Of two definitions of a type the first one counts.
Definitions definitionsOf(const QVTLV8XMLObject* structure) {
  Definitions table{};
  if (structure == nullptr || !structure->fields()) return table;
  for (const auto& field : *structure->fields()) {
    if (table[field->type()] == nullptr) table[field->type()] = field.get();
  }
  return table;
}

std::string nameOf(const QVTLV8FieldXMLObject* definition) {
  return definition == nullptr ? "?" : escaped(definition->name().value_or("?"));
}

// What the bytes mean by their definition; empty when they say it themselves.
std::string meaningOf(const QVTLV8FieldXMLObject& definition, ByteView value) {
  const auto transformer =
      QVTransformer::transformerForTransport(QVTransport::tlv8, definition.format());
  if (transformer == nullptr) return {};
  const auto decoded = transformer->reverseTransformValue(Value::bytes(value));
  if (!decoded) return {};
  const auto symbols = symbolsFor(definition.enumObject().get(), *decoded);
  if (!decoded->isNumber() && !decoded->isString()) return {};
  const std::string text = escaped(jsonText(*decoded, {.maximumBytes = 64}));
  return symbols ? fmt::format("{}  {}", text, *symbols) : text;
}

std::string_view faultAt(std::span<const QVMessageFault> faults, std::size_t offset) {
  const auto found = std::ranges::find_if(faults, [&](const QVMessageFault& fault) {
    return !fault.tlv8Path.empty() && fault.range && fault.range->offset == offset;
  });
  return found == faults.end() ? std::string_view() : std::string_view(found->text);
}

class Shower {
 public:
  explicit Shower(ViewPage& page) : page_(page) {}

  void show(std::size_t level, const QVTLV8Packet& packet, const QVTLV8XMLObject* structure,
            std::span<const QVMessageFault> faults, std::size_t depth) {
    const Definitions definitions = definitionsOf(structure);
    const auto fields = packet.fields();
    std::size_t width = 1;
    for (const QVTLV8Field& field : *fields) {
      width = std::max(width, escapedWidth(nameOf(definitions[field.type()])));
    }
    width = std::min(width, kWidestName);
    for (const QVTLV8Field& field : *fields) {
      if (page_.isFull()) return;
      showField(level, field, definitions[field.type()], width, faultAt(faults, field.offset()),
                depth);
    }
    if (!packet.errorDescription()) return;
    const std::optional<Bytes> bytes = packet.data();
    const std::size_t from = packet.errorOffset().value_or(0);
    page_.line(level, faultMark(page_.ink, *packet.errorDescription()));
    if (bytes) page_.bytes(level + 1, ByteView(*bytes).subspan(from), from, kMostRows);
  }

 private:
  void showField(std::size_t level, const QVTLV8Field& field,
                 const QVTLV8FieldXMLObject* definition, std::size_t width, std::string_view fault,
                 std::size_t depth) {
    const std::string name = nameOf(definition);
    const std::string padding(width - std::min(width, escapedWidth(name)), ' ');
    std::string line =
        fmt::format("{:02X}  {}{}  ", field.type(), page_.ink(Shade::cyan, name), padding);
    const auto value = field.value();
    // Two items need something between them, and profiles do not list what stands there.
    const bool separates =
        definition == nullptr && field.type() == kSeparator && value && value->empty();
    if (!value || separates) {
      page_.line(level,
                 line + "separator" + (fault.empty() ? "" : "  " + faultMark(page_.ink, fault)));
      return;
    }
    const auto nested = definition == nullptr ? nullptr : definition->tlv8Definition();
    const bool descends = nested != nullptr && depth < kDeepestStructure;
    const bool fits = value->size() <= kMostBytesInLine && !descends;
    if (fits) {
      line += fmt::format("{:<{}}", hexText(*value), 3 * kMostBytesInLine - 1);
    } else {
      line += fmt::format("{:<{}}", counted(value->size(), "byte"), 3 * kMostBytesInLine - 1);
    }
    const std::string meaning = definition == nullptr ? "" : meaningOf(*definition, *value);
    if (!meaning.empty()) line += "  " + page_.ink(Shade::cyan, meaning);
    if (!fault.empty()) line += "  " + faultMark(page_.ink, fault);
    page_.line(level, line);
    if (descends) {
      show(level + 1, *QVTLV8Packet::initWithData(*value), nested.get(), {}, depth + 1);
    } else if (!fits) {
      page_.bytes(level + 1, *value, field.offset() + 2, kMostRows);
    }
  }

  ViewPage& page_;
};

}  // namespace

void showTLV8(ViewPage& page, std::size_t level, const QVTLV8Packet& packet,
              const QVTLV8XMLObject* structure, std::span<const QVMessageFault> faults) {
  Shower(page).show(level, packet, structure, faults, 1);
}

std::optional<std::string> symbolsFor(const QVEnumXMLObject* enumeration, const Value& value) {
  if (enumeration == nullptr) return std::nullopt;
  if (const auto found = enumeration->lookupValue(value)) {
    return escaped(found->symbol().value_or(""));
  }
  const auto bits = value.asNumber();
  if (!enumeration->isBitmask() || !bits || !enumeration->values()) return std::nullopt;
  std::string symbols;
  for (const auto& row : *enumeration->values()) {
    const auto bit = row->valueRepresentationUsingEnumObject(*enumeration);
    const auto number = bit ? bit->asNumber() : std::nullopt;
    if (!number || (number->uint64Value() & bits->uint64Value()) == 0) continue;
    if (!symbols.empty()) symbols += " + ";
    symbols += escaped(row->symbol().value_or(""));
  }
  return symbols.empty() ? std::nullopt : std::optional(symbols);
}

}  // namespace qv::check
