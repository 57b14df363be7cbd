#include "qvparsersupport/definitions/enum_xml_object.h"

#include <fmt/format.h>

#include <utility>
#include <vector>

#include "qvparsersupport/common/text_readings.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/definitions/child_elements.h"
#include "qvparsersupport/vocabulary/format_strings.h"

namespace qv {

namespace {

constexpr std::string_view kValueKeys[] = {"value", "symbol", "description"};
constexpr std::string_view kEnumKeys[] = {"name", "format", "bitmask"};

// A value's text as a number of the enum's format; null when the format's values are no numbers.
std::optional<Number> numberFromText(std::string_view text, const QVEnumXMLObject& enumObject) {
  switch (enumObject.format()) {
    case QVFormatType::boolean:
      return Number::boolean(booleanReading(text));
    case QVFormatType::integer:
    case QVFormatType::uint8:
    case QVFormatType::uint16:
    case QVFormatType::uint32:
    case QVFormatType::uint64: {
      const std::int64_t number = integerReading(text);
      if (!enumObject.isBitmask()) return Number::int64(number);
      // Bits are counted from 1 in the profile; 0 wraps to the highest.
      return Number::uint64(std::uint64_t{1} << ((static_cast<std::uint64_t>(number) - 1) % 64));
    }
    case QVFormatType::floatingPoint:
      return Number::float64(doubleReading(text));
    default:
      return std::nullopt;
  }
}

// A value that a host built without a text reads like one with an empty text.
std::string_view writtenText(const QVEnumValueXMLObject& value) {
  return value.value() ? std::string_view(*value.value()) : std::string_view();
}

bool hasValues(QVFormatType format) {
  return format >= QVFormatType::boolean && format <= QVFormatType::string;
}

bool represents(const QVEnumValueXMLObject& value, const QVEnumXMLObject& enumObject,
                const Value& candidate) {
  if (enumObject.format() == QVFormatType::string) {
    const auto text = candidate.asString();
    return text && value.value() && *text == *value.value();
  }
  const auto number = candidate.asNumber();
  return number && numberFromText(writtenText(value), enumObject) == number;
}

}  // namespace

std::span<const std::string_view> QVEnumValueXMLObject::allowedAttributeKeys() const {
  return kValueKeys;
}

std::shared_ptr<QVEnumValueXMLObject> QVEnumValueXMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element) {
  auto value = std::make_shared<QVEnumValueXMLObject>();
  value->load(std::move(element));
  return value;
}

void QVEnumValueXMLObject::load(std::shared_ptr<const XMLElement> source) {
  initWithElement(std::move(source));
  if (element() == nullptr || element()->name() != "value") {
    raise("Non-value found in enum definition");
  }
  value_ = requiredAttribute("value");
  symbol_ = requiredAttribute("symbol");
  valueDescription_ = element()->attribute("description");
}

std::optional<Value> QVEnumValueXMLObject::valueRepresentationUsingEnumObject(
    const QVEnumXMLObject& enumObject) const {
  if (enumObject.format() == QVFormatType::string) {
    if (!value_) return std::nullopt;
    return Value::string(*value_);
  }
  const auto number = numberFromText(writtenText(*this), enumObject);
  if (!number) return std::nullopt;
  return Value(*number);
}

std::span<const std::string_view> QVEnumXMLObject::allowedAttributeKeys() const {
  return kEnumKeys;
}

std::shared_ptr<QVEnumXMLObject> QVEnumXMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element) {
  auto definition = std::make_shared<QVEnumXMLObject>();
  definition->load(std::move(element));
  return definition;
}

void QVEnumXMLObject::load(std::shared_ptr<const XMLElement> source) {
  initWithElement(std::move(source));
  if (element() == nullptr || element()->name() != "enum") {
    raise("Non-enum element found in enum list");
  }
  name_ = requiredAttribute("name");
  loadFormat();
  loadBitmask();
  loadValues();
}

void QVEnumXMLObject::loadFormat() {
  const auto text = element()->attribute("format");
  if (!text) raise("Format string required for enum");
  format_ = QVFormatStrings::formatTypeForString(text);
  if (format_ == QVFormatType::none) {
    raise(fmt::format("Must have valid value format, saw '{}'", *text));
  }
}

void QVEnumXMLObject::loadBitmask() {
  const auto text = element()->attribute("bitmask");
  if (!text) return;
  const std::string answer = lowercased(*text);
  // Deliberate: the text names the property, not the attribute.
  if (answer != "yes" && answer != "no") raise("isBitmask must be YES or NO");
  isBitmask_ = answer == "yes";
}

void QVEnumXMLObject::loadValues() {
  const TaggedChildren lists = childrenWithTag(element().get(), "values");
  if (lists.count != 1) {
    raise("There must be exactly 1 values element in an enum", secondOf(lists));
  }
  auto values = std::make_shared<std::vector<std::shared_ptr<QVEnumValueXMLObject>>>();
  for (auto* child = lists.first->firstChildNamed("value"); child != nullptr;
       child = child->nextNamed("value")) {
    values->push_back(QVEnumValueXMLObject::initWithXMLElement(handleTo(child)));
  }
  values_ = std::move(values);
}

std::string QVEnumXMLObject::description() const {
  return descriptionWithName(name_);
}

bool QVEnumXMLObject::isValidValue(const std::optional<Value>& value) const {
  if (!isBitmask_) return lookupValue(value) != nullptr;
  if (!value || !hasValues(format_)) return false;
  const auto number = value->asNumber();
  if (!number) return false;
  std::int64_t unnamedBits = number->int64Value();
  if (values_ == nullptr) return unnamedBits == 0;
  for (const auto& each : *values_) {
    if (each == nullptr) continue;
    const auto bits = numberFromText(writtenText(*each), *this);
    if (bits) unnamedBits &= ~bits->int64Value();
  }
  return unnamedBits == 0;
}

std::shared_ptr<QVEnumValueXMLObject> QVEnumXMLObject::lookupValue(
    const std::optional<Value>& value) const {
  if (!value || isBitmask_ || !hasValues(format_) || values_ == nullptr) return nullptr;
  for (const auto& each : *values_) {
    if (each != nullptr && represents(*each, *this, *value)) return each;
  }
  return nullptr;
}

void QVEnumXMLObject::setName(std::optional<std::string> name) {
  lookupKeyChanges();
  name_ = std::move(name);
}

}  // namespace qv
