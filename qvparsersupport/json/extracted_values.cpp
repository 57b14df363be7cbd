#include <algorithm>

#include "qvparsersupport/json/ip_json_object.h"

namespace qv {

std::string QVIPJSONObject::propertyKeyForJSONKey(std::string_view key) {
  std::string name(key);
  std::erase(name, '-');
  return name + "Value";
}

void QVIPJSONObject::expectReads(std::size_t keys, std::size_t children) {
  journal_.reserve(keys, children);
}

std::vector<QVIPJSONExtractedValue> QVIPJSONObject::extractedValues() const {
  std::vector<QVIPJSONExtractedValue> values;
  values.reserve(journal_.size());
  for (std::size_t i = 0; i < journal_.size(); ++i) {
    const QVIPJSONJournal::Entry& entry = journal_[i];
    const QVIPJSONKey key = QVIPJSONJournal::keyOf(entry);
    QVIPJSONExtractedValue& out = values.emplace_back();
    out.key = key.text();
    out.jsonType = entry.type;
    out.jsonValue = rawValue(key);
    if (const auto* detail = journal_.detailOf(entry)) {
      out.value = detail->value;
      if (detail->errorDescription != nullptr) out.errorDescription = *detail->errorDescription;
    }
    if (journal_.isRaw(entry) && out.jsonValue) out.value = *out.jsonValue;
  }
  return values;
}

const QVIPJSONJournal::Entry* QVIPJSONObject::readThatFilled(QVIPJSONKey key) const {
  for (std::size_t i = journal_.size(); i > 0; --i) {
    const QVIPJSONJournal::Entry& entry = journal_[i - 1];
    if (!QVIPJSONJournal::isOf(entry, key)) continue;
    const auto* detail = journal_.detailOf(entry);
    if (journal_.isRaw(entry) || (detail != nullptr && detail->value.index() != 0)) return &entry;
  }
  return nullptr;
}

std::optional<Value> QVIPJSONObject::valueForProperty(QVIPJSONKey key) const {
  const QVIPJSONJournal::Entry* entry = readThatFilled(key);
  if (entry == nullptr) return std::nullopt;
  if (journal_.isRaw(*entry)) return rawValue(key);
  const Value* value = std::get_if<Value>(&journal_.detailOf(*entry)->value);
  return value == nullptr ? std::nullopt : std::optional(*value);
}

std::optional<Number> QVIPJSONObject::numberForProperty(QVIPJSONKey key) const {
  const std::optional<Value> value = valueForProperty(key);
  return value ? value->asNumber() : std::nullopt;
}

std::optional<std::string> QVIPJSONObject::stringForProperty(QVIPJSONKey key) const {
  const std::optional<Value> value = valueForProperty(key);
  const auto text = value ? value->asString() : std::nullopt;
  return text ? std::optional(std::string(*text)) : std::nullopt;
}

std::shared_ptr<QVIPJSONObject> QVIPJSONObject::childForProperty(QVIPJSONKey key) const {
  const QVIPJSONJournal::Entry* entry = readThatFilled(key);
  const auto* detail = entry == nullptr ? nullptr : journal_.detailOf(*entry);
  const auto* child =
      detail == nullptr ? nullptr : std::get_if<std::shared_ptr<QVIPJSONObject>>(&detail->value);
  return child == nullptr ? nullptr : *child;
}

const QVIPJSONObjectList* QVIPJSONObject::childrenForProperty(QVIPJSONKey key) const {
  const QVIPJSONJournal::Entry* entry = readThatFilled(key);
  const auto* detail = entry == nullptr ? nullptr : journal_.detailOf(*entry);
  return detail == nullptr ? nullptr : std::get_if<QVIPJSONObjectList>(&detail->value);
}

}  // namespace qv
