#pragma once

// Internal to the symbol table.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/keyed_hash.h"

namespace qv {

// Keeps the texts of the keys of one or several tables, each with its length in front of it.
class KeyStore {
 public:
  const char* keep(std::string_view text);
  static std::string_view textAt(const char* record) {
    std::size_t size = 0;
    std::memcpy(&size, record, sizeof size);
    return {record + sizeof size, size};
  }

 private:
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;
  std::size_t freeBytes_ = 0;
};

// Texts with the position at which each was first seen. Keeps its own copy of every text, so it
// depends on nobody's lifetime. The hash is keyed: the texts come from profiles.
class KeyTable {
 public:
  // A key with what is computed once for several tables: its hash and, when it is known already,
  // its place in the store that the tables share.
  struct Key {
    explicit Key(std::string_view key)
        : text(key), hash(static_cast<std::uint32_t>(keyedHash(key))) {}
    std::string_view text;
    std::uint32_t hash;
    const char* record = nullptr;
  };

  KeyTable() : KeyTable(std::make_shared<KeyStore>()) {}
  explicit KeyTable(std::shared_ptr<KeyStore> store) : store_(std::move(store)) {}

  std::optional<std::uint32_t> find(std::string_view key) const { return find(Key(key)); }
  std::optional<std::uint32_t> find(const Key& key) const {
    if (count_ == 0) return std::nullopt;
    const Slot& slot = slots_[slotFor(key)];
    return slot.record != nullptr ? std::optional(slot.position) : std::nullopt;
  }
  bool contains(const Key& key) const { return find(key).has_value(); }
  // Does nothing when the key is there already: the first one stays. Fills in the key's record.
  void insert(Key& key, std::uint32_t position);
  void insert(std::string_view key, std::uint32_t position);
  void clear() { *this = KeyTable(); }

 private:
  struct Slot {
    const char* record = nullptr;  // null in a free slot
    std::uint32_t hash = 0;
    std::uint32_t position = 0;
  };

  // The slot that holds the key, or the free one where it belongs.
  std::size_t slotFor(const Key& key) const {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = key.hash & mask;; at = (at + 1) & mask) {
      const Slot& slot = slots_[at];
      if (slot.record == nullptr) return at;
      if (slot.hash != key.hash) continue;
      if (slot.record == key.record || KeyStore::textAt(slot.record) == key.text) return at;
    }
  }
  void grow();

  std::vector<Slot> slots_;  // a power of two of them, at most three quarters taken
  std::size_t count_ = 0;
  std::shared_ptr<KeyStore> store_;
};

}  // namespace qv
