#include "tools/qvcheck/profile_header.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <set>

#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/vocabulary/format_strings.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/header_constants.h"
#include "tools/qvcheck/source_names.h"

namespace qv::check {

namespace {

std::string textOf(const std::optional<std::string>& name) {
  return name.value_or("");
}

// What the library removes from the names that it knows symbols for.
std::string symbolOf(const std::string& name) {
  std::string symbol;
  std::copy_if(name.begin(), name.end(), std::back_inserter(symbol),
               [](char c) { return c != ' ' && c != '/' && c != '-'; });
  return symbol;
}

std::uint32_t bitOf(QVPermissionType type) {
  return 1U << (static_cast<std::uint32_t>(type) - 1);
}

class HeaderWriter {
 public:
  explicit HeaderWriter(std::string nameSpace) : nameSpace_(std::move(nameSpace)) {}

  ProfileHeader write(const std::vector<std::string>& sources) {
    const QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
    writeStart(sources);
    writeSection("enums", table.enums(), [this](const auto& e) { writeEnum(e); });
    writeSection("tlv8s", table.tlv8s(), [this](const auto& t) { writeTlv8(t); });
    writeSection("characteristics", table.characteristics(),
                 [this](const auto& c) { writeCharacteristic(c); });
    writeSection("services", table.services(), [this](const auto& s) { writeService(s); });
    line("}}  // namespace {}", nameSpace_);
    return {std::move(text_), std::move(remarks_)};
  }

 private:
  template <class... Arguments>
  void line(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
    text_ += '\n';
  }

  void writeStart(const std::vector<std::string>& sources) {
    std::string names;
    for (const std::string& source : sources) {
      names += (names.empty() ? "" : ", ") + stringLiteral(source);
    }
    line("// Constants of {}, made by qvcheck profile header. Changes here get lost.", names);
    line("#pragma once\n\n#include <array>\n#include <cstdint>\n#include <string_view>\n");
    line("namespace {} {{\n", nameSpace_);
    line("enum class Format : std::uint8_t {{");
    for (std::int64_t i = 0; i <= static_cast<std::int64_t>(QVFormatType::dictionary); ++i) {
      line("  {} = {},", enumeratorOf(static_cast<QVFormatType>(i)), i);
    }
    line("}};\n");
    line("// Each permission is a bit of a characteristic's kPermissions.");
    line("namespace permissions {{");
    for (const QVPermissionString& row : QVPermissionStrings::_permissionStringMapping()) {
      line("inline constexpr std::uint32_t {} = {:#x};", row.string, bitOf(row.type));
    }
    line("}}  // namespace permissions\n");
  }

  template <class Definition, class Write>
  void writeSection(const char* name, const DefinitionList<Definition>& definitions, Write write) {
    scope_ = NameScope();
    line("namespace {} {{\n", name);
    if (definitions != nullptr) {
      for (const auto& definition : *definitions) write(*definition);
    }
    line("}}  // namespace {}\n", name);
  }

  // The name in the scope; when it had to be mended, that is told twice: above the constant and as
  // a remark.
  std::string nameIn(NameScope& scope, const std::string& symbol, const std::string& kind,
                     const std::string& name) {
    const SourceName result = scope.take(symbol);
    if (!result.reason.empty()) {
      line("// Renamed: {} {}.", stringLiteral(symbol), result.reason);
      remarks_.push_back(fmt::format("{} '{}' is called {}, because '{}' {}", kind, escaped(name),
                                     result.identifier, escaped(symbol), result.reason));
    }
    return result.identifier;
  }

  void openNamed(const std::string& identifier) { line("namespace {} {{", identifier); }
  void closeNamed(const std::string& identifier) { line("}}  // namespace {}\n", identifier); }

  void writeText(const char* constant, const std::optional<std::string>& text) {
    if (text) line("inline constexpr std::string_view {} = {};", constant, viewInitializer(*text));
  }

  void writeConstant(const std::string& identifier, const std::optional<Constant>& constant,
                     const std::string& comment = "") {
    std::string remark = comment;
    if (!constant) {
      line("// {}: no such value in C++", identifier);
      return;
    }
    if (!constant->remark.empty()) remark += (remark.empty() ? "" : "; ") + constant->remark;
    line("inline constexpr {} {} = {};{}", constant->type, identifier, constant->literal,
         remark.empty() ? "" : "  // " + remark);
  }

  void writeFormat(QVFormatType format) {
    line("inline constexpr ::{}::Format kFormat = ::{}::Format::{};", nameSpace_, nameSpace_,
         enumeratorOf(format));
  }

  // Another name for what restricts the values, when that stands further up.
  void writeAlias(const char* alias, const char* section, const void* target) {
    if (target == nullptr) return;
    const auto found = names_.find(target);
    if (found != names_.end()) {
      line("namespace {} = ::{}::{}::{};", alias, nameSpace_, section, found->second);
    }
  }

  void writeEnum(const QVEnumXMLObject& definition) {
    const std::string name = textOf(definition.name());
    line("// {}, {}{}", stringLiteral(name), nameOf(definition.format()),
         definition.isBitmask() ? ", bits of a mask" : "");
    const std::string identifier = nameIn(scope_, symbolOf(name), "enum", name);
    openNamed(identifier);
    NameScope values;
    if (definition.values() != nullptr) {
      for (const auto& value : *definition.values()) writeEnumValue(definition, *value, values);
    }
    closeNamed(identifier);
    names_.emplace(&definition, identifier);
  }

  void writeEnumValue(const QVEnumXMLObject& definition, const QVEnumValueXMLObject& value,
                      NameScope& scope) {
    const std::string symbol = textOf(value.symbol());
    const std::string identifier =
        nameIn(scope, symbolOf(symbol),
               "value of enum '" + escaped(textOf(definition.name())) + "'", symbol);
    const auto representation = value.valueRepresentationUsingEnumObject(definition);
    const auto constant =
        representation ? valueConstant(*representation, definition.format()) : std::nullopt;
    const auto& description = value.valueDescription();
    writeConstant(identifier, constant, description ? stringLiteral(*description) : "");
  }

  void writeTlv8(const QVTLV8XMLObject& definition) {
    const std::string name = textOf(definition.name());
    const std::string identifier = nameIn(scope_, textOf(definition.symbolName()), "TLV8", name);
    openNamed(identifier);
    writeText("kName", name);
    NameScope fields({"kName"});
    if (definition.fields() != nullptr) {
      for (const auto& field : *definition.fields()) writeField(definition, *field, fields);
    }
    closeNamed(identifier);
    names_.emplace(&definition, identifier);
  }

  void writeField(const QVTLV8XMLObject& definition, const QVTLV8FieldXMLObject& field,
                  NameScope& scope) {
    const std::string name = textOf(field.name());
    const std::string identifier =
        nameIn(scope, textOf(field.symbolName()),
               "field of TLV8 '" + escaped(textOf(definition.name())) + "'", name);
    openNamed(identifier);
    line("inline constexpr std::uint8_t kType = {:#04x};", field.type());
    writeText("kName", name);
    writeFormat(field.format());
    writeMaximumLength(field.maximumLength());
    writeAlias("Values", "enums", field.enumObject().get());
    writeAlias("Structure", "tlv8s", field.tlv8Definition().get());
    line("}}  // namespace {}", identifier);
  }

  void writeMaximumLength(const std::optional<Number>& length) {
    if (length) line("inline constexpr std::uint64_t kMaximumLength = {}U;", length->uint64Value());
  }

  void writeCharacteristic(const QVCharacteristicXMLObject& parent) {
    writeCharacteristicFamilyMember(parent);
    if (const auto ip = parent.ip()) writeCharacteristicFamilyMember(*ip);
    if (const auto btle = parent.btle()) writeCharacteristicFamilyMember(*btle);
  }

  void writeCharacteristicFamilyMember(const QVCharacteristicXMLObject& member) {
    const std::string identifier =
        nameIn(scope_, textOf(member.symbolName()), "characteristic", textOf(member.name()));
    openNamed(identifier);
    writeText("kName", member.name());
    writeText("kUUID", member.uuid());
    writeText("kUTI", member.uti());
    writeFormat(member.format());
    const QVFormatType format = member.format();
    if (const auto minimum = member.minValue())
      writeConstant("kMinimum", numberConstant(*minimum, format));
    if (const auto maximum = member.maxValue())
      writeConstant("kMaximum", numberConstant(*maximum, format));
    if (const auto step = member.step()) writeConstant("kStep", numberConstant(*step, format));
    writeText("kUnit", member.unit());
    writeMaximumLength(member.maximumLength());
    writePermissions(member.properties());
    writeAlias("Values", "enums", member.enumDefinition().get());
    writeAlias("Structure", "tlv8s", member.tlv8Definition().get());
    closeNamed(identifier);
    names_.emplace(&member, identifier);
  }

  void writePermissions(const DefinitionList<QVCharacteristicPropertyXMLObject>& properties) {
    std::set<QVPermissionType> types;
    if (properties != nullptr) {
      for (const auto& property : *properties) types.insert(property->type());
    }
    std::string bits;
    for (const QVPermissionString& row : QVPermissionStrings::_permissionStringMapping()) {
      if (!types.contains(row.type)) continue;
      fmt::format_to(std::back_inserter(bits), "{}::{}::permissions::{}", bits.empty() ? "" : " | ",
                     nameSpace_, row.string);
    }
    line("inline constexpr std::uint32_t kPermissions = {};", bits.empty() ? "0" : bits);
  }

  void writeService(const QVServiceXMLObject& parent) {
    const std::string name = textOf(parent.name());
    const std::string identifier = nameIn(scope_, textOf(parent.symbolName()), "service", name);
    openNamed(identifier);
    writeText("kName", name);
    writeText("kUUID", parent.uuid());
    writeText("kUTI", parent.uti());
    if (const auto ip = parent.ip()) writeServiceInstance("IP", *ip);
    if (const auto btle = parent.btle()) writeServiceInstance("BTLE", *btle);
    closeNamed(identifier);
  }

  void writeServiceInstance(const char* transport, const QVServiceXMLObject& instance) {
    openNamed(transport);
    writeText("kUUID", instance.uuid());
    writeText("kUTI", instance.uti());
    writeReferences("kRequired", instance.required());
    writeReferences("kOptional", instance.optional());
    line("}}  // namespace {}", transport);
  }

  // The UUID of each, or what else identifies it.
  void writeReferences(const char* constant,
                       const DefinitionList<QVCharacteristicXMLObject>& characteristics) {
    const std::size_t count = characteristics == nullptr ? 0 : characteristics->size();
    line("inline constexpr std::array<std::string_view, {}> {} = {{{}", count, constant,
         count == 0 ? "};" : "{");
    if (count == 0) return;
    for (const auto& characteristic : *characteristics) {
      const char* const key = characteristic->uuidView()  ? "kUUID"
                              : characteristic->utiView() ? "kUTI"
                                                          : "kName";
      line("    ::{}::characteristics::{}::{},", nameSpace_, names_.at(characteristic.get()), key);
    }
    line("}}}};");
  }

  std::string nameSpace_;
  std::string text_;
  std::vector<std::string> remarks_;
  NameScope scope_;                           // of the section being written
  std::map<const void*, std::string> names_;  // of the definitions written so far
};

}  // namespace

ProfileHeader profileHeader(const std::string& nameSpace, const std::vector<std::string>& sources) {
  return HeaderWriter(nameSpace).write(sources);
}

}  // namespace qv::check
