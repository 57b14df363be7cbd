#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "qvparsersupport/common/value.h"
#include "qvparsersupport/json/extracted_value.h"
#include "qvparsersupport/json/json_key.h"
#include "qvparsersupport/json/json_value_type.h"
#include "qvparsersupport/json/tree_arena.h"

namespace qv {

// The child objects that one read of an array made. Their memory is the arena's. Internal.
class QVIPJSONChildren {
 public:
  using Child = std::shared_ptr<QVIPJSONObject>;

  QVIPJSONChildren(QVIPJSONArena& arena, std::size_t room)
      : first_(static_cast<Child*>(arena.allocate(room * sizeof(Child), alignof(Child)))) {}
  QVIPJSONChildren(QVIPJSONChildren&& other) noexcept
      : first_(other.first_), size_(std::exchange(other.size_, 0)) {}
  QVIPJSONChildren& operator=(QVIPJSONChildren&& other) noexcept {
    std::swap(first_, other.first_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~QVIPJSONChildren() { std::destroy_n(first_, size_); }

  // Within the room.
  void add(Child child) { std::construct_at(first_ + size_++, std::move(child)); }

  const Child* begin() const { return first_; }
  const Child* end() const { return first_ + size_; }
  std::size_t size() const { return size_; }
  const Child& operator[](std::size_t index) const { return first_[index]; }

 private:
  Child* first_;
  std::size_t size_ = 0;
};

// How an object keeps its reads: a database has a dozen for each characteristic, most of them of
// absent keys, so an entry is 16 bytes and only what cannot be read again from the value is kept
// beside it. Internal; hosts see QVIPJSONExtractedValue.
class QV_EXPORT QVIPJSONJournal {
 public:
  // What a read came to, where it needs no detail.
  static constexpr std::uint32_t kNothing = 0xFFFF'FFFF;  // nothing was obtained
  static constexpr std::uint32_t kRaw = 0xFFFF'FFFE;      // the raw value, as it is
  // For a read that obtained something else than the raw value.
  using Detail = std::variant<Value, std::shared_ptr<QVIPJSONObject>, QVIPJSONChildren>;
  struct Entry {
    const char* key;
    QVIPJSONValueType type;
    std::uint32_t outcome;  // kNothing, kRaw or a position among the details
  };

  QVIPJSONJournal() = default;
  QVIPJSONJournal(const QVIPJSONJournal&) = delete;
  QVIPJSONJournal& operator=(const QVIPJSONJournal&) = delete;
  ~QVIPJSONJournal() { clear(); }

  // Keeps its reads in an arena that lives as long as the journal. One that is told of no arena
  // makes its own with the first read, and so does one that was cleared: what it then reads does
  // not add to a tree that a host may hold for long.
  void keepIn(QVIPJSONArena& arena) { place_ = reinterpret_cast<std::byte*>(&arena) + kArenaOnly; }
  // Where children belong that the next read makes.
  QVIPJSONArena& arena() {
    if (reads() == nullptr) makeRoom();
    return *reads()->arena;
  }

  // Forgets the reads and the object's own fault.
  void clear() {
    if (reads() != nullptr) forget();
  }
  // Makes room for so many entries and details, so that they are one piece.
  void reserve(std::size_t entries, std::size_t details);
  void add(QVIPJSONKey key, QVIPJSONValueType type, std::uint32_t outcome) {
    if (reads() == nullptr || reads()->size == reads()->capacity) makeRoom();
    std::construct_at(reads()->entries() + reads()->size++, Entry{key.c_str(), type, outcome});
  }
  void add(QVIPJSONKey key, QVIPJSONValueType type, Detail detail);
  // The last read was of the key at that position in the value; the journal is not empty.
  void markRead(std::size_t position) {
    if (position < kMarks) reads()->marks |= std::uint64_t{1} << position;
  }
  // Makes the last read faulty; the journal is not empty.
  void setLastError(std::string text);
  // The fault of the object itself, which few have; null for none.
  const std::string* ownError() const {
    return reads() == nullptr || reads()->faults == nullptr ? nullptr : reads()->faults->own.get();
  }
  void setOwnError(std::optional<std::string> text);

  // Whether an entry is of this key.
  bool names(std::string_view key) const;
  // Whether each of so many keys of the value is known to have been read without looking further.
  // When not, `names` tells.
  bool marksAll(std::size_t keys) const {
    const std::uint64_t marks = reads() == nullptr ? 0 : reads()->marks;
    return keys == 0 || (keys <= kMarks && marks == ~std::uint64_t{0} >> (kMarks - keys));
  }
  std::size_t size() const { return reads() == nullptr ? 0 : reads()->size; }
  const Entry& operator[](std::size_t index) const { return reads()->entries()[index]; }
  // Null when the entry has none.
  const Detail* detailOf(const Entry& entry) const {
    return entry.outcome < kRaw ? reads()->details + entry.outcome : nullptr;
  }
  const std::string* errorOf(const Entry& entry) const {
    return reads()->faults == nullptr ? nullptr : reads()->faults->of(&entry - reads()->entries());
  }
  static bool isRaw(const Entry& entry) { return entry.outcome == kRaw; }
  static QVIPJSONKey keyOf(const Entry& entry) { return {entry.key, QVIPJSONKey::FromJournal()}; }
  // The same as comparing with `keyOf`, without measuring the entry's key.
  static bool isOf(const Entry& entry, QVIPJSONKey key) {
    return entry.key == key.c_str() ||
           (*entry.key == *key.c_str() && std::strcmp(entry.key, key.c_str()) == 0);
  }

 private:
  static constexpr std::size_t kMarks = 64;
  struct Faults {
    struct OfRead {
      std::ptrdiff_t entry;
      std::string text;
    };
    const std::string* of(std::ptrdiff_t entry) const;

    std::unique_ptr<std::string> own;
    std::vector<OfRead> ofReads;  // in the order of the entries
  };
  // The entries stand right behind it, and behind them the details it was made with. Most objects
  // of a database are strings and numbers that read nothing, so an empty journal has none.
  struct Reads {
    QVIPJSONArena::Owner arena;
    std::unique_ptr<Faults> faults;
    Detail* details = nullptr;
    std::uint32_t detailCount = 0;
    std::uint32_t detailCapacity = 0;
    std::uint32_t size = 0;
    std::uint32_t capacity = 0;
    std::uint64_t marks = 0;  // of the positions that were read
    Entry* entries() { return reinterpret_cast<Entry*>(this + 1); }
  };
  void forget();
  void makeRoom();
  QVIPJSONArena::Owner holdArena();
  void grow(std::size_t entries, std::size_t details);
  void makeRoomForDetail();
  Faults& faults();

  Reads* reads() const {
    const bool arenaOnly = (reinterpret_cast<std::uintptr_t>(place_) & kArenaOnly) != 0;
    return arenaOnly ? nullptr : reinterpret_cast<Reads*>(place_);
  }

  // The reads, or until there are any the arena for them with a mark, or nothing.
  static constexpr std::size_t kArenaOnly = 1;
  std::byte* place_ = nullptr;
};

}  // namespace qv
