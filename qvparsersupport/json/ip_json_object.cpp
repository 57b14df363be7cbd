#include "qvparsersupport/json/ip_json_object.h"

#include <utility>

namespace qv {

bool sawFailStatus = false;

namespace {

// Fractions are cut off, so 0.5 counts as 0.
bool isBoolean(const Value& value) {
  const auto number = value.asNumber();
  return number && (number->int64Value() == 0 || number->int64Value() == 1);
}

struct KindRow {
  QVIPJSONValueType type;
  bool (*accepts)(const Value&);
  const char* text;
};

constexpr KindRow kKinds[] = {
    {QVIPJSONValueType::number, [](const Value& v) { return v.isNumber(); },
     "Value is not a number."},
    {QVIPJSONValueType::string, [](const Value& v) { return v.isString(); },
     "Value is not a string."},
    {QVIPJSONValueType::boolean, isBoolean, "Value is not a boolean."},
    {QVIPJSONValueType::array, [](const Value& v) { return v.isArray(); },
     "Value is not an array."},
    {QVIPJSONValueType::object, [](const Value& v) { return v.isDictionary(); },
     "Value is not an object."},
    {QVIPJSONValueType::null, [](const Value& v) { return v.isNull(); }, "Value is not null."},
};

// A true or false is a number here, so no value is ever inferred to be a boolean.
QVIPJSONValueType kindOf(const std::optional<Value>& value) {
  if (!value) return QVIPJSONValueType::unspecified;
  if (value->isDictionary()) return QVIPJSONValueType::object;
  if (value->isArray()) return QVIPJSONValueType::array;
  if (value->isString()) return QVIPJSONValueType::string;
  if (value->isNumber()) return QVIPJSONValueType::number;
  if (value->isNull()) return QVIPJSONValueType::null;
  return QVIPJSONValueType::unspecified;
}

}  // namespace

void QVIPJSONObject::initWithJSONObject(std::optional<Value> jsonObject,
                                        const std::shared_ptr<QVIPJSONObject>& parent,
                                        QVIPJSONValueType type) {
  jsonObject_ = std::move(jsonObject);
  parent_ = parent;
  jsonType_ = type;
  if (type == QVIPJSONValueType::unspecified) {
    inferKind();
  } else {
    checkKind();
  }
  sawFailStatus = false;
}

void QVIPJSONObject::checkKind() {
  for (const KindRow& row : kKinds) {
    if (row.type != jsonType_ || (jsonObject_ && row.accepts(*jsonObject_))) continue;
    setErrorDescription(row.text);
    jsonObject_.reset();
  }
}

void QVIPJSONObject::inferKind() {
  jsonType_ = kindOf(jsonObject_);
  if (jsonType_ == QVIPJSONValueType::unspecified) {
    setErrorDescription("Unknown JSON object type.");
  }
}

void QVIPJSONObject::setErrorDescription(std::optional<std::string> text) {
  errorDescription_ = std::move(text);
  if (const auto above = parent()) above->setChildObjectHasError(true);
}

void QVIPJSONObject::setChildObjectHasError(bool flag) {
  childObjectHasError_ = flag;
  for (auto above = parent(); above != nullptr; above = above->parent()) {
    above->childObjectHasError_ = flag;
  }
}

}  // namespace qv
