#include "qvparsersupport/symbols/key_table.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qv {

namespace {

constexpr std::size_t kFirstSlots = 16;
constexpr std::size_t kFirstBlock = 1024;
constexpr std::size_t kLargestBlock = 65536;

}  // namespace

const char* KeyStore::keep(std::string_view text) {
  const std::size_t size = text.size();
  const std::size_t needed = sizeof size + size;
  if (needed > freeBytes_) {
    const std::size_t block = std::max(
        needed, std::min(kLargestBlock, kFirstBlock << std::min<std::size_t>(blocks_.size(), 6)));
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(block));
    free_ = blocks_.back().get();
    freeBytes_ = block;
  }
  char* const record = free_;
  std::memcpy(record, &size, sizeof size);
  if (size > 0) std::memcpy(record + sizeof size, text.data(), size);
  free_ += needed;
  freeBytes_ -= needed;
  return record;
}

void KeyTable::insert(Key& key, std::uint32_t position) {
  if ((count_ + 1) * 4 > slots_.size() * 3) grow();
  Slot& slot = slots_[slotFor(key)];
  if (slot.record != nullptr) return;
  if (key.record == nullptr) key.record = store_->keep(key.text);
  slot = {key.record, key.hash, position};
  ++count_;
}

void KeyTable::insert(std::string_view key, std::uint32_t position) {
  Key hashed(key);
  insert(hashed, position);
}

void KeyTable::grow() {
  std::vector<Slot> larger(std::max(kFirstSlots, slots_.size() * 2));
  const std::size_t mask = larger.size() - 1;
  for (const Slot& slot : slots_) {
    if (slot.record == nullptr) continue;
    std::size_t at = slot.hash & mask;
    while (larger[at].record != nullptr) at = (at + 1) & mask;
    larger[at] = slot;
  }
  slots_ = std::move(larger);
}

}  // namespace qv
