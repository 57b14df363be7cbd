#include "qvparsersupport/json/characteristic_access_objects.h"

namespace qv {

namespace {

using Kind = QVIPJSONValueType;

constexpr bool kOptional = false;

// For values that are taken as they stand.
std::optional<Value> unchanged(const std::optional<Value>& value, ErrorSlot) {
  return value;
}

}  // namespace

void QVIPCharacteristicReadObject::initWithJSONObject(std::optional<Value> jsonObject,
                                                      const std::shared_ptr<QVIPJSONObject>& parent,
                                                      QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, Kind::object);
  expectReads(3, 0);
  extractValueForKey("iid", Kind::number);
  extractValueForKey("aid", Kind::number);
  extractValueForKey("value", unchanged);
}

std::optional<Number> QVIPCharacteristicReadObject::iidValue() const {
  return numberForProperty("iid");
}

std::optional<Number> QVIPCharacteristicReadObject::aidValue() const {
  return numberForProperty("aid");
}

std::optional<Value> QVIPCharacteristicReadObject::valueValue() const {
  return valueForProperty("value");
}

void QVIPCharacteristicReadObjectWithStatus::initWithJSONObject(
    std::optional<Value> jsonObject, const std::shared_ptr<QVIPJSONObject>& parent,
    QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, Kind::object);
  expectReads(4, 0);
  extractValueForKey("iid", Kind::number);
  extractValueForKey("aid", Kind::number);
  extractValueForKey("status", Kind::number);
  extractValueForKey("value", unchanged);
}

std::optional<Number> QVIPCharacteristicReadObjectWithStatus::iidValue() const {
  return numberForProperty("iid");
}

std::optional<Number> QVIPCharacteristicReadObjectWithStatus::aidValue() const {
  return numberForProperty("aid");
}

std::optional<Number> QVIPCharacteristicReadObjectWithStatus::statusValue() const {
  return numberForProperty("status");
}

std::optional<Value> QVIPCharacteristicReadObjectWithStatus::valueValue() const {
  return valueForProperty("value");
}

void QVIPMultipleCharacteristicReadObject::initWithJSONObject(
    std::optional<Value> jsonObject, const std::shared_ptr<QVIPJSONObject>& parent,
    QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, Kind::object);
  expectReads(2, 1);
  if (HTTPResponse_ == "500") extractValueForKey("status", Kind::number, kOptional);
  if (HTTPResponse_ == "207") {
    extractArrayValueForKey<QVIPCharacteristicReadObjectWithStatus>("characteristics");
  } else {
    extractArrayValueForKey<QVIPCharacteristicReadObject>("characteristics");
  }
}

std::optional<Number> QVIPMultipleCharacteristicReadObject::statusValue() const {
  return numberForProperty("status");
}

std::optional<QVIPJSONObjectList> QVIPMultipleCharacteristicReadObject::characteristicsValue()
    const {
  return arrayForProperty<QVIPJSONObject>("characteristics");
}

void QVIPCharacteristicWriteObject::initWithJSONObject(
    std::optional<Value> jsonObject, const std::shared_ptr<QVIPJSONObject>& parent,
    QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, Kind::object);
  expectReads(5, 0);
  extractValueForKey("iid", Kind::number);
  extractValueForKey("aid", Kind::number);
  extractValueForKey("authData", Kind::string, kOptional);
  extractValueForKey("remote", Kind::boolean, kOptional);
  if (hasKey("ev")) {
    extractValueForKey("ev", Kind::boolean, kOptional);
  } else {
    extractValueForKey("value", unchanged);
  }
}

std::optional<Number> QVIPCharacteristicWriteObject::iidValue() const {
  return numberForProperty("iid");
}

std::optional<Number> QVIPCharacteristicWriteObject::aidValue() const {
  return numberForProperty("aid");
}

std::optional<std::string> QVIPCharacteristicWriteObject::authDataValue() const {
  return stringForProperty("authData");
}

std::optional<Value> QVIPCharacteristicWriteObject::remoteValue() const {
  return valueForProperty("remote");
}

std::optional<Value> QVIPCharacteristicWriteObject::evValue() const {
  return valueForProperty("ev");
}

std::optional<Value> QVIPCharacteristicWriteObject::valueValue() const {
  return valueForProperty("value");
}

void QVIPMultipleCharacteristicWriteObject::initWithJSONObject(
    std::optional<Value> jsonObject, const std::shared_ptr<QVIPJSONObject>& parent,
    QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, Kind::object);
  expectReads(1, 1);
  extractArrayValueForKey<QVIPCharacteristicWriteObject>("characteristics");
}

std::optional<std::vector<std::shared_ptr<QVIPCharacteristicWriteObject>>>
QVIPMultipleCharacteristicWriteObject::characteristicsValue() const {
  return arrayForProperty<QVIPCharacteristicWriteObject>("characteristics");
}

}  // namespace qv
