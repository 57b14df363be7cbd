#include "qvparsersupport/json/ip_json_object.h"

#include <utility>

#include "qvparsersupport/common/value_storage.h"
#include "qvparsersupport/json/json_kinds.h"
#include "qvparsersupport/json/validation_guard.h"

namespace qv {

bool sawFailStatus = false;

namespace {

// Deliberate: a true or false is a number here, so no value is ever inferred to be a boolean.
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

QVIPJSONObject::QVIPJSONObject() = default;
QVIPJSONObject::~QVIPJSONObject() = default;

void QVIPJSONObject::initWithJSONObject(std::optional<Value> jsonObject,
                                        const std::shared_ptr<QVIPJSONObject>& parent,
                                        QVIPJSONValueType type) {
  const JSONValidationGuard guard;
  jsonObject_ = std::move(jsonObject);
  parent_ = parent;
  jsonType_ = type;
  journal_.clear();
  childObjectHasError_ = false;
  if (type == QVIPJSONValueType::unspecified) {
    inferKind();
  } else {
    checkKind();
  }
  sawFailStatus = false;
}

// A type that is no enumerator is kept and not checked.
void QVIPJSONObject::checkKind() {
  const JSONKind* kind = jsonKind(jsonType_);
  if (kind == nullptr || (jsonObject_ && kind->accepts(ValueBuilder::node(*jsonObject_)))) return;
  setErrorDescription(kind->text);
  jsonObject_.reset();
}

void QVIPJSONObject::inferKind() {
  jsonType_ = kindOf(jsonObject_);
  if (jsonType_ == QVIPJSONValueType::unspecified) {
    setErrorDescription("Unknown JSON object type.");
  }
}

void QVIPJSONObject::setErrorDescription(std::optional<std::string> text) {
  journal_.setOwnError(std::move(text));
  if (const auto above = parent()) above->setChildObjectHasError(true);
}

void QVIPJSONObject::setChildObjectHasError(bool flag) {
  childObjectHasError_ = flag;
  for (auto above = parent(); above != nullptr; above = above->parent()) {
    above->childObjectHasError_ = flag;
  }
}

std::string QVIPJSONObject::expectation() const {
  const JSONKind* kind = jsonKind(jsonType_);
  return kind == nullptr ? "a JSON value" : kind->name;
}

std::string QVIPJSONObject::expectationForKey(std::string_view, QVIPJSONValueType type) const {
  const JSONKind* kind = jsonKind(type);
  return kind == nullptr ? "a JSON value" : kind->name;
}

std::optional<std::vector<std::string>> QVIPJSONObject::unknownJSONKeys() const {
  if (!jsonObject_ || !jsonObject_->isDictionary()) return std::nullopt;
  std::vector<std::string> unknown;
  for (std::size_t i = 0; i < jsonObject_->count(); ++i) {
    const std::string_view key = jsonObject_->keyAt(i);
    if (!journal_.names(key)) unknown.emplace_back(key);
  }
  if (unknown.empty()) return std::nullopt;
  return unknown;
}

}  // namespace qv
