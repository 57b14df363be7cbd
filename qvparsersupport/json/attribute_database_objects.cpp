#include "qvparsersupport/json/attribute_database_objects.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/vocabulary/format_strings.h"

namespace qv {

namespace {

using Kind = QVIPJSONValueType;

constexpr bool kOptional = false;

}  // namespace

void QVIPAttributeDatabaseObject::initWithJSONObject(std::optional<Value> jsonObject,
                                                     const std::shared_ptr<QVIPJSONObject>& parent,
                                                     QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, Kind::object);
  expectReads(1, 1);
  extractArrayValueForKey<QVIPAccessoryObject>("accessories");
}

std::optional<std::vector<std::shared_ptr<QVIPAccessoryObject>>>
QVIPAttributeDatabaseObject::accessoriesValue() const {
  return arrayForProperty<QVIPAccessoryObject>("accessories");
}

void QVIPAccessoryObject::initWithJSONObject(std::optional<Value> jsonObject,
                                             const std::shared_ptr<QVIPJSONObject>& parent,
                                             QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, Kind::object);
  expectReads(2, 1);
  extractValueForKey("aid", Kind::number);
  extractArrayValueForKey<QVIPServiceObject>("services");
}

std::optional<Number> QVIPAccessoryObject::aidValue() const {
  return numberForProperty("aid");
}

std::optional<std::vector<std::shared_ptr<QVIPServiceObject>>> QVIPAccessoryObject::servicesValue()
    const {
  return arrayForProperty<QVIPServiceObject>("services");
}

void QVIPServiceObject::initWithJSONObject(std::optional<Value> jsonObject,
                                           const std::shared_ptr<QVIPJSONObject>& parent,
                                           QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, Kind::object);
  expectReads(6, 2);
  extractObjectValueForKey<QVIPUUIDTypeString>("type");
  extractValueForKey("iid", Kind::number);
  extractArrayValueForKey<QVIPCharacteristicObject>("characteristics");
  extractValueForKey("hidden", Kind::boolean, kOptional);
  extractValueForKey("primary", Kind::boolean, kOptional);
  extractArrayValueForKey<QVIPJSONObject>("linked", kOptional);
}

std::shared_ptr<QVIPUUIDTypeString> QVIPServiceObject::typeValue() const {
  return objectForProperty<QVIPUUIDTypeString>("type");
}

std::string QVIPServiceObject::expectationForKey(std::string_view key,
                                                 QVIPJSONValueType type) const {
  return QVIPJSONObject::expectationForKey(key, key == "type" ? Kind::string : type);
}

std::optional<Number> QVIPServiceObject::iidValue() const {
  return numberForProperty("iid");
}

std::optional<std::vector<std::shared_ptr<QVIPCharacteristicObject>>>
QVIPServiceObject::characteristicsValue() const {
  return arrayForProperty<QVIPCharacteristicObject>("characteristics");
}

std::optional<Value> QVIPServiceObject::hiddenValue() const {
  return valueForProperty("hidden");
}

std::optional<Value> QVIPServiceObject::primaryValue() const {
  return valueForProperty("primary");
}

std::optional<QVIPJSONObjectList> QVIPServiceObject::linkedValue() const {
  return arrayForProperty<QVIPJSONObject>("linked");
}

void QVIPCharacteristicObject::initWithJSONObject(std::optional<Value> jsonObject,
                                                  const std::shared_ptr<QVIPJSONObject>& parent,
                                                  QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, Kind::object);
  expectReads(15, 4);
  extractObjectValueForKey<QVIPUUIDTypeString>("type");
  extractValueForKey("iid", Kind::number);
  extractArrayValueForKey<QVIPPermissionString>("perms");
  extractValueForKey("ev", Kind::boolean, kOptional);
  extractObjectValueForKey<QVIPFormatString>("format");
  extractObjectValueForKey<QVIPUnitString>("unit", kOptional);
  extractValueForKey("minValue", Kind::number, kOptional);
  extractValueForKey("maxValue", Kind::number, kOptional);
  extractValueForKey("minStep", Kind::number, kOptional);
  extractValueForKey("maxLen", Kind::number, kOptional);
  extractValueForKey("maxDataLen", Kind::number, kOptional);
  extractValueForKey("description", Kind::string, kOptional);
  extractArrayValueForKey<QVIPJSONObject>("valid-values", kOptional);
  extractArrayValueForKey<QVIPJSONObject>("valid-values-range", kOptional);
  findDefinitionAndTransformer();
  readValue();
}

void QVIPCharacteristicObject::findDefinitionAndTransformer() {
  const auto type = childForProperty("type");
  definition_ =
      type == nullptr ? nullptr : static_cast<const QVIPUUIDTypeString&>(*type).characteristic();
  // No transformer serves the format `none`.
  transformer_ = QVTransformer::transformerForTransport(QVTransport::ip, format());
}

bool QVIPCharacteristicObject::hasReadPermission() const {
  const QVIPJSONChildren* permissions = childrenForProperty("perms");
  return permissions != nullptr && std::ranges::any_of(*permissions, [](const auto& permission) {
           return static_cast<const QVIPPermissionString&>(*permission).permissionType() ==
                  QVPermissionType::pr;
         });
}

void QVIPCharacteristicObject::readValue() {
  isReadable_ = hasReadPermission();
  if (isReadable_) {
    extractValueForKey("value", [this](const std::optional<Value>& raw, ErrorSlot fault) {
      return decodedValue(raw, fault);
    });
  } else if (hasKey("value")) {
    extractValueForDisallowedKey("value", QVIPFormatStringToQVIPJSONValueType(formatValue().get()));
  }
}

// Deliberate: the decoded value is not checked against the limits and the enum of the
// characteristic.
std::optional<Value> QVIPCharacteristicObject::decodedValue(const std::optional<Value>& raw,
                                                            ErrorSlot fault) const {
  if (transformer_ == nullptr) return fail(fault, "Cannot parse value due to unknown format type.");
  return transformer_->reverseTransformValue(raw, fault);
}

QVIPJSONValueType QVIPCharacteristicObject::QVIPFormatStringToQVIPJSONValueType(
    const QVIPFormatString* format) {
  switch (format == nullptr ? QVFormatType::none : format->formatType()) {
    case QVFormatType::none:
    case QVFormatType::date:
    case QVFormatType::tlv8:
    case QVFormatType::data:
      return Kind::unspecified;
    case QVFormatType::boolean:
      return Kind::boolean;
    case QVFormatType::integer:
    case QVFormatType::uint8:
    case QVFormatType::uint16:
    case QVFormatType::uint32:
    case QVFormatType::uint64:
    case QVFormatType::floatingPoint:
      return Kind::number;
    case QVFormatType::string:
      return Kind::string;
    case QVFormatType::array:
      return Kind::array;
    case QVFormatType::dictionary:
      return Kind::object;
  }
  return Kind::null;
}

QVFormatType QVIPCharacteristicObject::format() const {
  if (definition_ != nullptr) return definition_->format();
  const auto format = formatValue();
  return format == nullptr ? QVFormatType::none : format->formatType();
}

std::optional<Number> QVIPCharacteristicObject::maximumLength() const {
  if (const auto own = maxLenValue()) return own;
  return definition_ == nullptr ? std::nullopt : definition_->maximumLength();
}

std::shared_ptr<QVTLV8XMLObject> QVIPCharacteristicObject::tlv8Definition() const {
  return definition_ == nullptr ? nullptr : definition_->tlv8Definition();
}

std::shared_ptr<QVEnumXMLObject> QVIPCharacteristicObject::enumDefinition() const {
  return definition_ == nullptr ? nullptr : definition_->enumDefinition();
}

std::string QVIPCharacteristicObject::expectationForKey(std::string_view key,
                                                        QVIPJSONValueType type) const {
  // The objects under "type", "format" and "unit" stand for strings.
  if (type == Kind::object) type = Kind::string;
  if (key != "value") return QVIPJSONObject::expectationForKey(key, type);
  if (!isReadable_) return "no value, because no permission is \"pr\"";
  const auto name = QVFormatStrings::stringForFormatType(format());
  if (!name) return "a known format";
  if (transformer_ == nullptr) {
    return fmt::format("a format that IP can carry, which {} is not", *name);
  }
  return fmt::format("a value of format {}", *name);
}

std::shared_ptr<const QVXMLObject> QVIPCharacteristicObject::governingDefinition() const {
  return definition_;
}

std::shared_ptr<QVIPUUIDTypeString> QVIPCharacteristicObject::typeValue() const {
  return objectForProperty<QVIPUUIDTypeString>("type");
}

std::optional<Number> QVIPCharacteristicObject::iidValue() const {
  return numberForProperty("iid");
}

std::optional<std::vector<std::shared_ptr<QVIPPermissionString>>>
QVIPCharacteristicObject::permsValue() const {
  return arrayForProperty<QVIPPermissionString>("perms");
}

std::optional<Value> QVIPCharacteristicObject::evValue() const {
  return valueForProperty("ev");
}

std::shared_ptr<QVIPFormatString> QVIPCharacteristicObject::formatValue() const {
  return objectForProperty<QVIPFormatString>("format");
}

std::shared_ptr<QVIPUnitString> QVIPCharacteristicObject::unitValue() const {
  return objectForProperty<QVIPUnitString>("unit");
}

std::optional<Number> QVIPCharacteristicObject::minValueValue() const {
  return numberForProperty("minValue");
}

std::optional<Number> QVIPCharacteristicObject::maxValueValue() const {
  return numberForProperty("maxValue");
}

std::optional<Number> QVIPCharacteristicObject::minStepValue() const {
  return numberForProperty("minStep");
}

std::optional<Number> QVIPCharacteristicObject::maxLenValue() const {
  return numberForProperty("maxLen");
}

std::optional<Number> QVIPCharacteristicObject::maxDataLenValue() const {
  return numberForProperty("maxDataLen");
}

std::optional<std::string> QVIPCharacteristicObject::descriptionValue() const {
  return stringForProperty("description");
}

std::optional<QVIPJSONObjectList> QVIPCharacteristicObject::validvaluesValue() const {
  return arrayForProperty<QVIPJSONObject>("valid-values");
}

std::optional<QVIPJSONObjectList> QVIPCharacteristicObject::validvaluesrangeValue() const {
  return arrayForProperty<QVIPJSONObject>("valid-values-range");
}

std::optional<Value> QVIPCharacteristicObject::valueValue() const {
  return valueForProperty("value");
}

}  // namespace qv
