#include "qvparsersupport/json/value_journal.h"

#include <algorithm>
#include <span>
#include <utility>

namespace qv {

void QVIPJSONJournal::forget() {
  Reads* const old = reads();
  place_ = nullptr;
  std::destroy_n(old->details, old->detailCount);
  const QVIPJSONArena::Owner arena = std::move(old->arena);
  std::destroy_at(old);
}

// Holds the arena that it was told of, or its own.
QVIPJSONArena::Owner QVIPJSONJournal::holdArena() {
  if (place_ == nullptr) return QVIPJSONArena::Owner(QVIPJSONArena::make());
  auto* const arena = reinterpret_cast<QVIPJSONArena*>(place_ - kArenaOnly);
  arena->retain();
  return QVIPJSONArena::Owner(arena);
}

void QVIPJSONJournal::reserve(std::size_t entries, std::size_t details) {
  if (reads() == nullptr || entries > reads()->capacity) grow(entries, details);
}

void QVIPJSONJournal::makeRoom() {
  constexpr std::size_t kFewReads = 4;
  grow(std::max(kFewReads, size() * 2), 0);
}

// What becomes too small stays behind in the arena, together less than what takes its place.
void QVIPJSONJournal::grow(std::size_t entries, std::size_t details) {
  Reads* const old = reads();
  QVIPJSONArena::Owner held = old == nullptr ? holdArena() : nullptr;
  QVIPJSONArena::Owner& arena = old == nullptr ? held : old->arena;
  const std::size_t bytes = sizeof(Reads) + entries * sizeof(Entry) + details * sizeof(Detail);
  auto* const larger =
      std::construct_at(static_cast<Reads*>(arena->allocate(bytes, alignof(Reads))));
  larger->arena = std::move(arena);
  larger->capacity = static_cast<std::uint32_t>(entries);
  larger->details = reinterpret_cast<Detail*>(larger->entries() + entries);
  larger->detailCapacity = static_cast<std::uint32_t>(details);
  if (old != nullptr) {
    larger->faults = std::move(old->faults);
    larger->size = old->size;
    larger->marks = old->marks;
    std::uninitialized_copy_n(old->entries(), old->size, larger->entries());
    if (old->detailCapacity > 0) {
      larger->details = old->details;
      larger->detailCount = old->detailCount;
      larger->detailCapacity = old->detailCapacity;
    }
    std::destroy_at(old);
  }
  place_ = reinterpret_cast<std::byte*>(larger);
}

void QVIPJSONJournal::makeRoomForDetail() {
  const std::uint32_t capacity = std::max(2U, reads()->detailCapacity * 2);
  auto* const larger =
      static_cast<Detail*>(reads()->arena->allocate(capacity * sizeof(Detail), alignof(Detail)));
  std::uninitialized_move_n(reads()->details, reads()->detailCount, larger);
  std::destroy_n(reads()->details, reads()->detailCount);
  reads()->details = larger;
  reads()->detailCapacity = capacity;
}

void QVIPJSONJournal::add(QVIPJSONKey key, QVIPJSONValueType type, Detail detail) {
  add(key, type, kNothing);
  if (reads()->detailCount == reads()->detailCapacity) makeRoomForDetail();
  std::construct_at(reads()->details + reads()->detailCount, std::move(detail));
  reads()->entries()[reads()->size - 1].outcome = reads()->detailCount++;
}

QVIPJSONJournal::Faults& QVIPJSONJournal::faults() {
  if (reads() == nullptr) grow(0, 0);
  if (reads()->faults == nullptr) reads()->faults = std::make_unique<Faults>();
  return *reads()->faults;
}

void QVIPJSONJournal::setLastError(std::string text) {
  const std::ptrdiff_t last = std::ptrdiff_t{reads()->size} - 1;
  std::vector<Faults::OfRead>& all = faults().ofReads;
  if (all.empty() || all.back().entry != last) all.push_back({last, {}});
  all.back().text = std::move(text);
}

void QVIPJSONJournal::setOwnError(std::optional<std::string> text) {
  if (text) {
    faults().own = std::make_unique<std::string>(std::move(*text));
  } else if (ownError() != nullptr) {
    faults().own.reset();
  }
}

const std::string* QVIPJSONJournal::Faults::of(std::ptrdiff_t entry) const {
  const auto found = std::ranges::lower_bound(ofReads, entry, {}, &OfRead::entry);
  return found == ofReads.end() || found->entry != entry ? nullptr : &found->text;
}

bool QVIPJSONJournal::names(std::string_view key) const {
  if (reads() == nullptr) return false;
  // The lengths of the entries' keys are not known, so few are looked at beyond the first letter.
  return std::ranges::any_of(
      std::span(reads()->entries(), reads()->size), [key](const Entry& entry) {
        return (key.empty() || *entry.key == key.front()) && entry.key == key;
      });
}

}  // namespace qv
