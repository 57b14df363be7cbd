#include "qvparsersupport/definitions/characteristic_xml_object.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <utility>

#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/text_readings.h"
#include "qvparsersupport/definitions/child_elements.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/vocabulary/format_strings.h"

namespace qv {

namespace {

constexpr std::string_view kKeys[] = {"name"};

std::string textOrNull(std::optional<std::string_view> text) {
  return std::string(text.value_or(kNullText));
}

}  // namespace

struct QVCharacteristicXMLObject::Children {
  enum class Tag : std::size_t {
    type,
    format,
    minValue,
    maxValue,
    step,
    unit,
    properties,
    ip,
    btle
  };
  std::array<TaggedChildren, 9> byTag{{{"type"},
                                       {"format"},
                                       {"minValue"},
                                       {"maxValue"},
                                       {"step"},
                                       {"unit"},
                                       {"properties"},
                                       {"ip"},
                                       {"btle"}}};

  const TaggedChildren& operator[](Tag tag) const { return byTag[static_cast<std::size_t>(tag)]; }
};

std::span<const std::string_view> QVCharacteristicPropertyXMLObject::allowedAttributeKeys() const {
  return kKeys;
}

std::shared_ptr<QVCharacteristicPropertyXMLObject>
QVCharacteristicPropertyXMLObject::initWithXMLElement(std::shared_ptr<const XMLElement> element) {
  auto property = std::make_shared<QVCharacteristicPropertyXMLObject>();
  property->load(std::move(element));
  return property;
}

void QVCharacteristicPropertyXMLObject::load(std::shared_ptr<const XMLElement> source) {
  initWithElement(std::move(source));
  name_ = requiredAttribute("name");
  type_ = QVPermissionStrings::permissionTypeForString(*name_);
  if (type_ == QVPermissionType::none) {
    raise(fmt::format("Must have valid property type (saw {})", *name_));
  }
}

std::span<const std::string_view> QVCharacteristicXMLObject::allowedAttributeKeys() const {
  return kKeys;
}

std::shared_ptr<QVCharacteristicXMLObject> QVCharacteristicXMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element) {
  return initWithXMLElement(std::move(element), nullptr, QVTransport::none);
}

std::shared_ptr<QVCharacteristicXMLObject> QVCharacteristicXMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element,
    const std::shared_ptr<QVCharacteristicXMLObject>& parentCharacteristic, QVTransport transport) {
  auto definition = std::make_shared<QVCharacteristicXMLObject>();
  definition->load(std::move(element), parentCharacteristic, transport);
  return definition;
}

std::shared_ptr<QVCharacteristicXMLObject> QVCharacteristicXMLObject::initWithFormat(
    QVFormatType format) {
  auto definition = std::make_shared<QVCharacteristicXMLObject>();
  definition->format_ = format;
  return definition;
}

void QVCharacteristicXMLObject::load(
    std::shared_ptr<const XMLElement> source,
    const std::shared_ptr<QVCharacteristicXMLObject>& parentCharacteristic, QVTransport transport) {
  initWithElement(std::move(source));
  Children children;
  findChildren(element().get(), children.byTag);
  loadIdentity(parentCharacteristic, transport, children[Children::Tag::type]);
  loadFormat(children[Children::Tag::format]);
  loadRange(children);
  loadStep(children[Children::Tag::step]);
  if (const auto unit = valueAmong(children[Children::Tag::unit], "name")) {
    ownRare().unit = std::string(*unit);
  }
  loadMaximumLength(children[Children::Tag::format]);
  loadEnum(children[Children::Tag::format]);
  loadTlv8(children[Children::Tag::format]);
  loadProperties(children[Children::Tag::properties]);
  loadInstances(parentCharacteristic, children[Children::Tag::ip], children[Children::Tag::btle]);
}

void QVCharacteristicXMLObject::loadFormat(const TaggedChildren& format) {
  const auto text = valueAmong(format, "name");
  if (!text) return;
  format_ = QVFormatStrings::formatTypeForString(text);
  if (format_ == QVFormatType::none) {
    raise(fmt::format("Must have valid value format, saw '{}'", *text), childWith(format, "name"));
  }
}

void QVCharacteristicXMLObject::loadRange(const Children& children) {
  const TaggedChildren& minimum = children[Children::Tag::minValue];
  if (const auto text = valueAmong(minimum, "value")) {
    if (text->empty()) raise("minValue must not be empty string", childWith(minimum, "value"));
    ownRare().minValue = limitFromText(*text);
    if (!rare().minValue) {
      raise("minValue is only applicable to float and int types", childWith(minimum, "value"));
    }
  }
  const TaggedChildren& maximum = children[Children::Tag::maxValue];
  if (const auto text = valueAmong(maximum, "value")) {
    if (text->empty()) raise("maxValue must not be empty string", childWith(maximum, "value"));
    ownRare().maxValue = limitFromText(*text);
    if (!rare().maxValue) {
      raise("maxValue is only applicable to float and int types", childWith(maximum, "value"));
    }
  }
}

// Null when the format has no limits.
std::optional<Number> QVCharacteristicXMLObject::limitFromText(std::string_view text) const {
  switch (format()) {
    case QVFormatType::integer:
    case QVFormatType::uint8:
    case QVFormatType::uint16:
    case QVFormatType::uint32:
    case QVFormatType::uint64:
      return Number::int64(integerReading(text));
    case QVFormatType::floatingPoint:
      return Number::float32(floatReading(text));
    default:
      return std::nullopt;
  }
}

void QVCharacteristicXMLObject::loadStep(const TaggedChildren& step) {
  const auto text = valueAmong(step, "value");
  if (!text) return;
  // Deliberate: a capital, unlike in the texts of the limits.
  if (text->empty()) raise("Step must not be empty string", childWith(step, "value"));
  const QVFormatType ownFormat = format();
  // Deliberate: the unsigned formats have limits but no step.
  if (ownFormat != QVFormatType::integer && ownFormat != QVFormatType::floatingPoint) {
    raise("step is only applicable to float and int types", childWith(step, "value"));
  }
  ownRare().step = limitFromText(*text);
}

void QVCharacteristicXMLObject::loadMaximumLength(const TaggedChildren& format) {
  const auto text = valueAmong(format, "maximumLength");
  if (!text) return;
  if (!holdsOnlyDecimalDigits(*text)) {
    raise("maximumLength must be an integer", childWith(format, "maximumLength"));
  }
  ownRare().maximumLength = Number::int64(integerReading(*text));
}

void QVCharacteristicXMLObject::loadEnum(const TaggedChildren& formatChildren) {
  const auto enumName = valueAmong(formatChildren, "enum");
  if (!enumName) return;
  const XMLElement* const user = childWith(formatChildren, "enum");
  auto definition = QVSymbolTable::sharedSymbolTable().enumWithName(*enumName, user);
  if (definition == nullptr) {
    raise(fmt::format("Must have an enum for {} if enum name is specified", textOrNull(nameView())),
          user);
  }
  if (definition->format() != format()) {
    raise(fmt::format("Enum type must equal characteristic type for {} ({} vs {})",
                      textOrNull(nameView()), static_cast<std::int64_t>(definition->format()),
                      static_cast<std::int64_t>(format())),
          user);
  }
  enumDefinition_ = std::move(definition);
}

void QVCharacteristicXMLObject::loadTlv8(const TaggedChildren& formatChildren) {
  const bool isTlv8 = format() == QVFormatType::tlv8;
  if (const auto tlv8Name = valueAmong(formatChildren, "tlv8")) {
    const XMLElement* const user = childWith(formatChildren, "tlv8");
    if (!isTlv8) {
      raise("Only TLV8 formatted characteristics should have a TLV8 definition", user);
    }
    tlv8Definition_ = QVSymbolTable::sharedSymbolTable().tlv8WithName(*tlv8Name, user);
    if (tlv8Definition_ == nullptr) {
      raise(
          fmt::format("Must have an tlv8 for {} if tlv8 name is specified", textOrNull(nameView())),
          user);
    }
  }
  if (isTlv8 && tlv8Definition() == nullptr) {
    raise(fmt::format("TLV8 formatted characteristics must have a tlv8 definition: {}",
                      textOrNull(uuidView())),
          childWith(formatChildren, "name"));
  }
}

void QVCharacteristicXMLObject::loadProperties(const TaggedChildren& properties) {
  if (properties.count == 0) return;
  if (properties.count > 1) {
    raise("There must be exactly 1 properties element in a characteristic", secondOf(properties));
  }
  auto list = std::make_shared<std::vector<std::shared_ptr<QVCharacteristicPropertyXMLObject>>>();
  for (auto* child = properties.first->firstChildNamed("property"); child != nullptr;
       child = child->nextNamed("property")) {
    list->push_back(QVCharacteristicPropertyXMLObject::initWithXMLElement(handleTo(child)));
  }
  properties_ = std::move(list);
}

void QVCharacteristicXMLObject::validateContents() const {
  if (format() == QVFormatType::none) raise("Must have a format string");
}

QVCharacteristicXMLObject::Rare& QVCharacteristicXMLObject::ownRare() {
  if (rare_ == nullptr) rare_ = std::make_unique<Rare>();
  return *rare_;
}

const QVCharacteristicXMLObject::Rare& QVCharacteristicXMLObject::noRare() {
  static const auto* const none = new Rare();
  return *none;
}

QVFormatType QVCharacteristicXMLObject::format() const {
  if (format_ != QVFormatType::none) return format_;
  const auto format = inherited([](const QVCharacteristicXMLObject& each) {
    return each.format_ == QVFormatType::none ? std::nullopt : std::optional(each.format_);
  });
  return format.value_or(QVFormatType::none);
}

DefinitionList<QVCharacteristicPropertyXMLObject> QVCharacteristicXMLObject::properties() const {
  return inherited([](const QVCharacteristicXMLObject& each) { return each.properties_; });
}

std::optional<Number> QVCharacteristicXMLObject::minValue() const {
  return inherited([](const QVCharacteristicXMLObject& each) { return each.rare().minValue; });
}

std::optional<Number> QVCharacteristicXMLObject::maxValue() const {
  return inherited([](const QVCharacteristicXMLObject& each) { return each.rare().maxValue; });
}

std::optional<Number> QVCharacteristicXMLObject::step() const {
  return inherited([](const QVCharacteristicXMLObject& each) { return each.rare().step; });
}

std::optional<std::string> QVCharacteristicXMLObject::unit() const {
  return inherited([](const QVCharacteristicXMLObject& each) { return each.rare().unit; });
}

std::optional<std::string_view> QVCharacteristicXMLObject::unitView() const {
  return inherited([](const QVCharacteristicXMLObject& each) {
    const auto& unit = each.rare().unit;
    return unit ? std::optional<std::string_view>(*unit) : std::nullopt;
  });
}

std::shared_ptr<QVEnumXMLObject> QVCharacteristicXMLObject::enumDefinition() const {
  return inherited([](const QVCharacteristicXMLObject& each) { return each.enumDefinition_; });
}

std::shared_ptr<QVTLV8XMLObject> QVCharacteristicXMLObject::tlv8Definition() const {
  return inherited([](const QVCharacteristicXMLObject& each) { return each.tlv8Definition_; });
}

}  // namespace qv
