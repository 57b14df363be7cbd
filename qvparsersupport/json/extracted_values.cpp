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

namespace {

template <class Kept>
void assign(QVIPJSONExtractedValue& out, const Kept& kept) {
  out.value = kept;
}
void assign(QVIPJSONExtractedValue& out, const QVIPJSONChildren& kept) {
  out.value = QVIPJSONObjectList(kept.begin(), kept.end());
}

}  // namespace

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
      std::visit([&out](const auto& kept) { assign(out, kept); }, *detail);
    }
    if (const auto* error = journal_.errorOf(entry)) out.errorDescription = *error;
    if (journal_.isRaw(entry) && out.jsonValue) out.value = *out.jsonValue;
  }
  return values;
}

const QVIPJSONJournal::Entry* QVIPJSONObject::readThatFilled(QVIPJSONKey key) const {
  for (std::size_t i = journal_.size(); i > 0; --i) {
    const QVIPJSONJournal::Entry& entry = journal_[i - 1];
    if (!QVIPJSONJournal::isOf(entry, key)) continue;
    if (entry.outcome != QVIPJSONJournal::kNothing) return &entry;
  }
  return nullptr;
}

std::optional<Value> QVIPJSONObject::valueForProperty(QVIPJSONKey key) const {
  const QVIPJSONJournal::Entry* entry = readThatFilled(key);
  if (entry == nullptr) return std::nullopt;
  if (journal_.isRaw(*entry)) return rawValue(key);
  const Value* value = std::get_if<Value>(journal_.detailOf(*entry));
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
  const auto* child = std::get_if<std::shared_ptr<QVIPJSONObject>>(detail);
  return child == nullptr ? nullptr : *child;
}

const QVIPJSONChildren* QVIPJSONObject::childrenForProperty(QVIPJSONKey key) const {
  const QVIPJSONJournal::Entry* entry = readThatFilled(key);
  const auto* detail = entry == nullptr ? nullptr : journal_.detailOf(*entry);
  return std::get_if<QVIPJSONChildren>(detail);
}

}  // namespace qv
