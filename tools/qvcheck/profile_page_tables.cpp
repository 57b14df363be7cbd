// TLV8 structures with their layout, and enums.

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "qvparsersupport/vocabulary/format_strings.h"
#include "tools/qvcheck/html.h"
#include "tools/qvcheck/profile_page_parts.h"

namespace qv::check {

namespace {

std::string textOf(const std::optional<std::string>& name) {
  return name.value_or("");
}

std::string formatText(QVFormatType format) {
  return std::string(QVFormatStrings::stringForFormatType(format).value_or("no format"));
}

// How many bytes the value of a field takes.
struct Extent {
  std::uint64_t least;
  std::optional<std::uint64_t> most;  // null when nothing limits it
};

Extent extentOf(const QVTLV8FieldXMLObject& field) {
  switch (field.format()) {
    case QVFormatType::uint8:
      return {1, 1};
    case QVFormatType::uint16:
      return {2, 2};
    case QVFormatType::uint32:
    case QVFormatType::floatingPoint:
      return {4, 4};
    case QVFormatType::uint64:
      return {8, 8};
    case QVFormatType::integer:
      return {1, 8};
    default:
      break;
  }
  const auto& length = field.maximumLength();
  return {0, length ? std::optional(length->uint64Value()) : std::nullopt};
}

std::string extentText(const QVTLV8FieldXMLObject& field) {
  if (field.format() == QVFormatType::integer) return "1, 2, 4 or 8 bytes";
  const Extent extent = extentOf(field);
  if (!extent.most) return "any length";
  const char* const noun = *extent.most == 1 ? "byte" : "bytes";
  return extent.least == *extent.most ? fmt::format("{} {}", extent.least, noun)
                                      : fmt::format("up to {} {}", *extent.most, noun);
}

// A field drawn to scale: a column for the type, one for the length, one for each byte of the value
// up to the sixteenth, where what is longer ends torn off. What a value need not fill is hatched.
std::string drawnField(const QVTLV8FieldXMLObject& field) {
  constexpr std::uint64_t kColumns = 16;
  const Extent extent = extentOf(field);
  const std::uint64_t most = extent.most.value_or(kColumns + 1);
  const std::uint64_t drawn = std::min(most, kColumns);
  const char* const tear = most > kColumns ? " torn" : "";
  std::string text = fmt::format(
      "<div class=\"field\"><span class=\"byte type\">{:02x}</span>"
      "<span class=\"byte length\">n</span>",
      field.type());
  for (std::uint64_t i = 0; i < extent.least; ++i) text += "<span class=\"value\"></span>";
  if (drawn > extent.least) {
    fmt::format_to(std::back_inserter(text),
                   "<span class=\"value open{}\" style=\"grid-column:span {}\"></span>", tear,
                   drawn - extent.least);
  }
  return text + fmt::format("<span class=\"label\">{}</span></div>\n", html(textOf(field.name())));
}

std::string layout(const QVTLV8XMLObject& definition) {
  std::string rows;
  for (const auto& field : itemsOf(definition.fields())) rows += drawnField(*field);
  if (rows.empty()) return "";
  return "<figure class=\"layout\" aria-hidden=\"true\">\n<div class=\"field "
         "ruler\"><span>type</span>"
         "<span>len</span><span style=\"grid-column:span 4\">value</span>"
         "<span style=\"grid-column:span 4\">4</span><span style=\"grid-column:span 8\">8</span>"
         "</div>\n" +
         rows + "</figure>\n";
}

// What a field's value is: the enum or the structure that says so.
std::string meaningOf(const QVTLV8FieldXMLObject& field, const ProfileIndex& index) {
  if (const auto& values = field.enumObject()) {
    return linkTo(index.anchorOf(values.get()), textOf(values->name()));
  }
  if (const auto structure = field.tlv8Definition()) {
    return linkTo(index.anchorOf(structure.get()), textOf(structure->name()));
  }
  return field.format() == QVFormatType::tlv8 ? "any structure" : "";
}

std::string fieldTable(const QVTLV8XMLObject& definition, const ProfileIndex& index) {
  std::string rows;
  for (const auto& field : itemsOf(definition.fields())) {
    fmt::format_to(std::back_inserter(rows),
                   "<tr><td><code>0x{:02x}</code></td><th scope=\"row\">{}</th><td><code>{}</code> "
                   "<span class=\"quiet\">{}</span></td><td>{}</td></tr>\n",
                   field->type(), html(textOf(field->name())), formatText(field->format()),
                   extentText(*field), meaningOf(*field, index));
  }
  if (rows.empty()) return "<p class=\"quiet\">It has no fields.</p>\n";
  return "<div class=\"wide\"><table class=\"list\">\n<thead><tr><th scope=\"col\">Type</th>"
         "<th scope=\"col\">Field</th><th scope=\"col\">Format</th><th scope=\"col\">Holds</th>"
         "</tr></thead>\n<tbody>\n" +
         rows + "</tbody></table></div>\n";
}

std::string valueCells(const QVEnumXMLObject& definition, const QVEnumValueXMLObject& value) {
  const std::string written = html(textOf(value.value()));
  const auto representation = value.valueRepresentationUsingEnumObject(definition);
  const auto mask = representation ? representation->asNumber() : std::nullopt;
  if (!definition.isBitmask() || !mask) return fmt::format("<td><code>{}</code></td>", written);
  return fmt::format("<td>{}</td><td><code>{:#x}</code></td>", written, mask->uint64Value());
}

std::string valueTable(const QVEnumXMLObject& definition) {
  bool described = false;
  for (const auto& value : itemsOf(definition.values())) {
    described = described || value->valueDescription();
  }
  std::string rows;
  for (const auto& value : itemsOf(definition.values())) {
    rows += "<tr>" + valueCells(definition, *value);
    fmt::format_to(std::back_inserter(rows), "<th scope=\"row\">{}</th>",
                   html(textOf(value->symbol())));
    if (described) {
      fmt::format_to(std::back_inserter(rows), "<td>{}</td>",
                     html(textOf(value->valueDescription())));
    }
    rows += "</tr>\n";
  }
  if (rows.empty()) return "<p class=\"quiet\">It has no values.</p>\n";
  return fmt::format(
      "<div class=\"wide\"><table class=\"list\">\n<thead><tr>{}<th scope=\"col\">"
      "Symbol</th>{}</tr></thead>\n<tbody>\n{}</tbody></table></div>\n",
      definition.isBitmask() ? "<th scope=\"col\">Bit</th><th scope=\"col\">Mask</th>"
                             : "<th scope=\"col\">Value</th>",
      described ? "<th scope=\"col\">Description</th>" : "", rows);
}

}  // namespace

std::string structuresPart(const QVSymbolTable& table, const ProfileIndex& index) {
  std::string cards;
  for (const auto& definition : itemsOf(table.tlv8s())) {
    const bool isPairing = definition->name() == "Pairing";
    cards += cardStart(index.anchorOf(definition.get()), textOf(definition->name()),
                       isPairing ? "<p class=\"chips\">" + chip("pairing messages", "ip") + "</p>\n"
                                 : "") +
             layout(*definition) + fieldTable(*definition, index) +
             usesList(index, definition.get(),
                      isPairing ? "The body of every pairing message is one of these."
                                : "Nothing uses it.") +
             kCardEnd;
  }
  if (!cards.empty()) {
    cards.insert(0,
                 "<p class=\"quiet\">Each row is a field as it travels: the type byte, the length "
                 "byte n, and the value, drawn to scale up to 16 bytes. What a value need not fill "
                 "is hatched; a torn edge means that it may be longer.</p>\n");
  }
  return section("structures", "Structures", cards);
}

std::string enumsPart(const QVSymbolTable& table, const ProfileIndex& index) {
  std::string cards;
  for (const auto& definition : itemsOf(table.enums())) {
    const std::string chips = chip(formatText(definition->format())) +
                              (definition->isBitmask() ? chip("bitmask", "ip") : "");
    cards += cardStart(index.anchorOf(definition.get()), textOf(definition->name()),
                       "<p class=\"chips\">" + chips + "</p>\n") +
             valueTable(*definition) + usesList(index, definition.get(), "Nothing uses it.") +
             kCardEnd;
  }
  return section("enums", "Enums", cards);
}

}  // namespace qv::check
