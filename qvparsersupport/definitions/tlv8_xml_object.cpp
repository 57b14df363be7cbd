#include "qvparsersupport/definitions/tlv8_xml_object.h"

#include <fmt/format.h>

#include <utility>
#include <vector>

#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/text_readings.h"
#include "qvparsersupport/definitions/child_elements.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/vocabulary/format_strings.h"

namespace qv {

namespace {

constexpr std::string_view kTLV8Keys[] = {"name"};
constexpr std::string_view kFieldKeys[] = {"type", "name", "format",
                                           "enum", "tlv8", "maximumLength"};

}  // namespace

std::span<const std::string_view> QVTLV8FieldXMLObject::allowedAttributeKeys() const {
  return kFieldKeys;
}

std::shared_ptr<QVTLV8FieldXMLObject> QVTLV8FieldXMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element) {
  auto field = std::make_shared<QVTLV8FieldXMLObject>();
  field->load(std::move(element));
  return field;
}

void QVTLV8FieldXMLObject::load(std::shared_ptr<const XMLElement> source) {
  initWithElement(std::move(source));
  loadType();
  name_ = requiredAttribute("name");
  loadFormat();
  loadMaximumLength();
  loadEnum();
  loadTlv8();
}

void QVTLV8FieldXMLObject::loadType() {
  const auto text = element() ? element()->attribute("type") : std::nullopt;
  if (!text || !text->starts_with("0x")) raise("Type must be 1 hex byte");
  const auto number = hexadecimalReading(*text);
  if (!number) raise("Failed to read hex int");
  if (*number >= 256) raise("Type must only be 1 byte");
  type_ = static_cast<std::uint8_t>(*number);
}

void QVTLV8FieldXMLObject::loadFormat() {
  const auto text = element()->attribute("format");
  // Deliberate: the text speaks of an enum field for every field.
  if (!text) raise("Enum field must have a format string");
  format_ = QVFormatStrings::formatTypeForString(text);
  if (format_ == QVFormatType::none) {
    raise(fmt::format("Must have valid value format, saw '{}'", *text));
  }
}

void QVTLV8FieldXMLObject::loadMaximumLength() {
  const auto text = element()->attribute("maximumLength");
  if (!text) return;
  if (!holdsOnlyDecimalDigits(*text)) raise("maximumLength must be an integer");
  maximumLength_ = Number::int64(integerReading(*text));
}

void QVTLV8FieldXMLObject::loadEnum() {
  const auto enumName = element()->attribute("enum");
  if (!enumName) return;
  enumObject_ = QVSymbolTable::sharedSymbolTable().enumWithName(*enumName, element().get());
  if (enumObject_ == nullptr) {
    raise(fmt::format("Must have an enum for {} if enum name is specified", textOrNull(name_)));
  }
  if (enumObject_->format() != format_) {
    raise(fmt::format("Enum type must equal tlv8 type for {}", textOrNull(name_)));
  }
}

void QVTLV8FieldXMLObject::loadTlv8() {
  const auto tlv8Name = element()->attribute("tlv8");
  if (!tlv8Name) return;
  if (format_ != QVFormatType::tlv8) {
    raise("Only TLV8 formatted characteristics should have a TLV8 definition");
  }
  tlv8Name_ = *tlv8Name;
  if (QVSymbolTable::sharedSymbolTable().tlv8WithName(*tlv8Name, element().get()) == nullptr) {
    raise(fmt::format("Must have an tlv8 for {} if tlv8 name is specified", textOrNull(name_)));
  }
}

std::shared_ptr<QVTLV8XMLObject> QVTLV8FieldXMLObject::tlv8Definition() const {
  if (!tlv8Name_) return nullptr;
  return QVSymbolTable::sharedSymbolTable().tlv8WithName(*tlv8Name_, element().get());
}

std::span<const std::string_view> QVTLV8XMLObject::allowedAttributeKeys() const {
  return kTLV8Keys;
}

std::shared_ptr<QVTLV8XMLObject> QVTLV8XMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element) {
  auto definition = std::make_shared<QVTLV8XMLObject>();
  definition->load(std::move(element));
  return definition;
}

void QVTLV8XMLObject::load(std::shared_ptr<const XMLElement> source) {
  initWithElement(std::move(source));
  name_ = requiredAttribute("name");
  const TaggedChildren lists = childrenWithTag(element().get(), "fields");
  if (lists.count != 1) {
    raise("There must be exactly 1 fields element in a TLV8", secondOf(lists));
  }
  auto fields = std::make_shared<std::vector<std::shared_ptr<QVTLV8FieldXMLObject>>>();
  for (auto* child = lists.first->firstChildNamed("field"); child != nullptr;
       child = child->nextNamed("field")) {
    fields->push_back(QVTLV8FieldXMLObject::initWithXMLElement(handleTo(child)));
  }
  fields_ = std::move(fields);
}

std::string QVTLV8XMLObject::description() const {
  return descriptionWithName(name_);
}

void QVTLV8XMLObject::setName(std::optional<std::string> name) {
  lookupKeyChanges();
  name_ = std::move(name);
}

}  // namespace qv
