#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <utility>

#include "qvparsersupport/common/value_storage.h"
#include "qvparsersupport/json/ip_json_object.h"
#include "qvparsersupport/json/json_kinds.h"
#include "qvparsersupport/json/validation_guard.h"

namespace qv {

namespace {

// How a read takes its type: the kinds of the construction check, but a string wherever a read for
// itself makes no other demand, and a null as a boolean.
const JSONKind* kindOfRead(QVIPJSONValueType type) {
  switch (type) {
    case QVIPJSONValueType::unspecified:
    case QVIPJSONValueType::array:
    case QVIPJSONValueType::object:
      return jsonKind(QVIPJSONValueType::string);
    case QVIPJSONValueType::number:
    case QVIPJSONValueType::string:
    case QVIPJSONValueType::boolean:
    case QVIPJSONValueType::null:
      break;
  }
  return jsonKind(type);
}

std::string notProvided(QVIPJSONKey key) {
  return fmt::format("Required key '{}' was not provided.", key.text());
}

bool isFaulty(const QVIPJSONObject& object) {
  return object.errorDescription() || object.childObjectHasError();
}

bool isSame(const Value& value, const std::optional<Value>& raw) {
  return raw && ValueBuilder::node(value) == ValueBuilder::node(*raw);
}

}  // namespace

void QVIPJSONObject::addFault(QVIPJSONKey key, QVIPJSONValueType type, std::string text) {
  journal_.add(key, type, QVIPJSONJournal::kNothing);
  journal_.setLastError(std::move(text));
  setChildObjectHasError(true);
}

std::optional<Value> QVIPJSONObject::rawValue(QVIPJSONKey key) const {
  return jsonObject_ ? jsonObject_->find(key.text()) : std::nullopt;
}

const Value::Node* QVIPJSONObject::rawNode(QVIPJSONKey key, std::size_t& position) const {
  if (!jsonObject_ || !jsonObject_->isDictionary()) return nullptr;
  const Value::Node& dictionary = ValueBuilder::node(*jsonObject_);
  const ValueEntryNode* const entries = ValueBuilder::entries(dictionary);
  position = findEntry(entries, dictionary.size, key.text());
  return position < dictionary.size ? &entries[position].value : nullptr;
}

void QVIPJSONObject::addAbsence(QVIPJSONKey key, QVIPJSONValueType type, bool required) {
  if (required) {
    addFault(key, type, notProvided(key));
  } else {
    journal_.add(key, type, QVIPJSONJournal::kNothing);
  }
}

void QVIPJSONObject::extractValueForKey(QVIPJSONKey key, QVIPJSONValueType type, bool required) {
  const JSONValidationGuard guard;
  std::size_t position = 0;
  const Value::Node* raw = rawNode(key, position);
  if (raw == nullptr) {
    addAbsence(key, type, required);
    return;
  }
  const JSONKind* kind = kindOfRead(type);
  if (kind == nullptr) return;
  const bool nullBoolean = type == QVIPJSONValueType::boolean && raw->type == Value::Type::null;
  if (!kind->accepts(*raw) && !nullBoolean) {
    addFault(key, type, kind->text);
    journal_.markRead(position);
    return;
  }
  journal_.add(key, type, QVIPJSONJournal::kRaw);
  journal_.markRead(position);
  if (statusExcusesValue() && key.text() == "status") sawFailStatus = true;
}

void QVIPJSONObject::extractValueForDisallowedKey(QVIPJSONKey key, QVIPJSONValueType type) {
  extractValueForKey(key, type, false);
  // A read without a trace leaves another key's entry the last one.
  if (journal_.size() > 0) {
    journal_.setLastError(
        fmt::format("Key '{}' is not allowed in a write only characteristic", key.text()));
  }
  setChildObjectHasError(true);
}

void QVIPJSONObject::extractObject(QVIPJSONKey key, Maker maker, bool required) {
  const JSONValidationGuard guard;
  constexpr auto kType = QVIPJSONValueType::object;
  std::size_t position = 0;
  const Value::Node* raw = rawNode(key, position);
  if (raw == nullptr) {
    addAbsence(key, kType, required);
    return;
  }
  const auto self = weak_from_this().lock();
  auto child = maker(journal_.arena(), ValueBuilder::share(*raw, *jsonObject_), self);
  if (self == nullptr && isFaulty(*child)) setChildObjectHasError(true);
  journal_.add(key, kType, std::move(child));
  journal_.markRead(position);
}

void QVIPJSONObject::extractArray(QVIPJSONKey key, Maker maker, bool required) {
  const JSONValidationGuard guard;
  constexpr auto kType = QVIPJSONValueType::array;
  std::size_t position = 0;
  const Value::Node* raw = rawNode(key, position);
  if (raw == nullptr) {
    addAbsence(key, kType, required);
    return;
  }
  if (raw->type != Value::Type::array) {
    addFault(key, kType, jsonKind(kType)->text);
    journal_.markRead(position);
    return;
  }
  const auto self = weak_from_this().lock();
  QVIPJSONArena& arena = journal_.arena();
  // A handle of its own, lest a child's class takes the value away from this object.
  const Value document = *jsonObject_;
  QVIPJSONChildren children(arena, raw->size);
  for (const Value::Node& element : std::span(ValueBuilder::elements(*raw), raw->size)) {
    children.add(maker(arena, ValueBuilder::share(element, document), self));
  }
  if (self == nullptr &&
      std::ranges::any_of(children, [](const auto& child) { return isFaulty(*child); })) {
    setChildObjectHasError(true);
  }
  journal_.add(key, kType, std::move(children));
  journal_.markRead(position);
}

void QVIPJSONObject::extractValueForKey(QVIPJSONKey key, const ValueTransformer& valueTransformer) {
  const JSONValidationGuard guard;
  constexpr auto kType = QVIPJSONValueType::unspecified;
  std::size_t position = 0;
  const Value::Node* const node = rawNode(key, position);
  std::optional<Value> raw;
  if (node != nullptr) raw = ValueBuilder::share(*node, *jsonObject_);
  if (!raw && statusExcusesValue() && !sawFailStatus) {
    addFault(key, kType, notProvided(key));
    return;
  }
  if (!raw && key.text() == "value") return;
  std::optional<std::string> fault;
  std::optional<Value> value = valueTransformer(raw, &fault);
  sawFailStatus = false;
  // Deliberate: a value that comes with a fault is kept too.
  if (!value) {
    journal_.add(key, kType, QVIPJSONJournal::kNothing);
  } else if (isSame(*value, raw)) {
    journal_.add(key, kType, QVIPJSONJournal::kRaw);
  } else {
    journal_.add(key, kType, std::move(*value));
  }
  if (node != nullptr) journal_.markRead(position);
  if (!fault) return;
  journal_.setLastError(std::move(*fault));
  setChildObjectHasError(true);
}

}  // namespace qv
