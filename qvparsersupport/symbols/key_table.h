#pragma once

// Internal to the symbol table.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace qv {

// Texts with the position at which each was first seen. Keeps its own copy of every text, so it
// depends on nobody's lifetime. The hash is keyed: the texts come from profiles.
class KeyTable {
 public:
  std::optional<std::uint32_t> find(std::string_view key) const;
  bool contains(std::string_view key) const { return find(key).has_value(); }
  // Does nothing when the key is there already: the first one stays.
  void insert(std::string_view key, std::uint32_t position);
  void clear() { *this = KeyTable(); }

 private:
  struct Entry {
    const char* text;
    std::size_t size;
    std::uint32_t position;
  };
  struct Slot {
    std::uint32_t hash = 0;   // the upper half; the lower half chooses the slot
    std::uint32_t entry = 0;  // counted from 1; 0 is a free slot
  };

  // The slot that holds the key, or the free one where it belongs.
  std::size_t slotFor(std::string_view key, std::uint64_t hash) const;
  void grow();
  const char* keepText(std::string_view text);

  std::vector<Slot> slots_;  // a power of two of them, at most three quarters taken
  std::vector<Entry> entries_;
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;
  std::size_t freeBytes_ = 0;
};

}  // namespace qv
