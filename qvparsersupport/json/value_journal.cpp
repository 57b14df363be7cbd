#include "qvparsersupport/json/value_journal.h"

#include <algorithm>
#include <new>
#include <span>
#include <utility>

namespace qv {

void QVIPJSONJournal::clear() {
  if (reads_ == nullptr) return;
  std::destroy_at(reads_);
  ::operator delete(std::exchange(reads_, nullptr));
}

void QVIPJSONJournal::reserve(std::size_t entries, std::size_t details) {
  if (reads_ == nullptr || entries > reads_->capacity) grow(entries);
  reads_->details.reserve(details);
}

void QVIPJSONJournal::grow(std::size_t capacity) {
  auto* const larger = std::construct_at(
      static_cast<Reads*>(::operator new(sizeof(Reads) + capacity * sizeof(Entry))));
  larger->capacity = static_cast<std::uint32_t>(capacity);
  if (reads_ != nullptr) {
    larger->details = std::move(reads_->details);
    larger->size = reads_->size;
    std::uninitialized_copy_n(reads_->entries(), reads_->size, larger->entries());
    clear();
  }
  reads_ = larger;
}

void QVIPJSONJournal::add(QVIPJSONKey key, QVIPJSONValueType type, std::uint32_t outcome) {
  constexpr std::size_t kFewReads = 4;
  if (reads_ == nullptr || reads_->size == reads_->capacity) {
    grow(std::max(kFewReads, size() * 2));
  }
  std::construct_at(reads_->entries() + reads_->size++, Entry{key.c_str(), type, outcome});
}

QVIPJSONJournal::Detail& QVIPJSONJournal::addDetail(QVIPJSONKey key, QVIPJSONValueType type) {
  const std::size_t position = reads_ == nullptr ? 0 : reads_->details.size();
  add(key, type, static_cast<std::uint32_t>(position));
  return reads_->details.emplace_back();
}

void QVIPJSONJournal::setLastError(std::string text, const std::optional<Value>& raw) {
  Entry& entry = reads_->entries()[size() - 1];
  if (entry.outcome >= kRaw) {
    Detail& detail = reads_->details.emplace_back();
    if (isRaw(entry) && raw) detail.value = *raw;
    entry.outcome = static_cast<std::uint32_t>(reads_->details.size() - 1);
  }
  reads_->details[entry.outcome].errorDescription = std::make_unique<std::string>(std::move(text));
}

bool QVIPJSONJournal::names(std::string_view key) const {
  if (reads_ == nullptr) return false;
  return std::ranges::any_of(std::span(reads_->entries(), reads_->size),
                             [key](const Entry& entry) { return entry.key == key; });
}

const QVIPJSONJournal::Detail* QVIPJSONJournal::detailOf(const Entry& entry) const {
  return entry.outcome < kRaw ? &reads_->details[entry.outcome] : nullptr;
}

}  // namespace qv
