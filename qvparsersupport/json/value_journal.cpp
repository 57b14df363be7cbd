#include "qvparsersupport/json/value_journal.h"

#include <algorithm>
#include <utility>

namespace qv {

void QVIPJSONJournal::clear() {
  entries_.clear();
  details_.clear();
}

void QVIPJSONJournal::add(QVIPJSONKey key, QVIPJSONValueType type, std::uint32_t outcome) {
  entries_.push_back({key.c_str(), type, outcome});
}

QVIPJSONJournal::Detail& QVIPJSONJournal::addDetail(QVIPJSONKey key, QVIPJSONValueType type) {
  add(key, type, static_cast<std::uint32_t>(details_.size()));
  return details_.emplace_back();
}

void QVIPJSONJournal::setLastError(std::string text) {
  if (entries_.empty()) return;
  Entry& entry = entries_.back();
  if (entry.outcome >= kRaw) {
    const bool raw = entry.outcome == kRaw;
    entry.outcome = static_cast<std::uint32_t>(details_.size());
    details_.emplace_back().raw = raw;
  }
  details_[entry.outcome].errorDescription = std::make_unique<std::string>(std::move(text));
}

bool QVIPJSONJournal::names(std::string_view key) const {
  return std::ranges::any_of(entries_, [key](const Entry& entry) { return entry.key == key; });
}

const QVIPJSONJournal::Detail* QVIPJSONJournal::detailOf(const Entry& entry) const {
  return entry.outcome < kRaw ? &details_[entry.outcome] : nullptr;
}

bool QVIPJSONJournal::isRaw(const Entry& entry) const {
  const Detail* detail = detailOf(entry);
  return detail != nullptr ? detail->raw : entry.outcome == kRaw;
}

}  // namespace qv
