#include "qvparsersupport/symbols/key_table.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "qvparsersupport/common/keyed_hash.h"

namespace qv {

namespace {

constexpr std::size_t kFirstSlots = 16;
constexpr std::size_t kFirstBlock = 1024;
constexpr std::size_t kLargestBlock = 65536;

std::uint32_t upperHalf(std::uint64_t hash) {
  return static_cast<std::uint32_t>(hash >> 32);
}

}  // namespace

std::size_t KeyTable::slotFor(std::string_view key, std::uint64_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
    const Slot& slot = slots_[at];
    if (slot.entry == 0) return at;
    if (slot.hash != upperHalf(hash)) continue;
    const Entry& entry = entries_[slot.entry - 1];
    if (std::string_view(entry.text, entry.size) == key) return at;
  }
}

std::optional<std::uint32_t> KeyTable::find(std::string_view key) const {
  if (slots_.empty()) return std::nullopt;
  const Slot& slot = slots_[slotFor(key, keyedHash(key))];
  if (slot.entry == 0) return std::nullopt;
  return entries_[slot.entry - 1].position;
}

void KeyTable::insert(std::string_view key, std::uint32_t position) {
  if ((entries_.size() + 1) * 4 > slots_.size() * 3) grow();
  const std::uint64_t hash = keyedHash(key);
  Slot& slot = slots_[slotFor(key, hash)];
  if (slot.entry != 0) return;
  if (entries_.size() == std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  entries_.push_back({keepText(key), key.size(), position});
  slot = {upperHalf(hash), static_cast<std::uint32_t>(entries_.size())};
}

void KeyTable::grow() {
  std::vector<Slot> larger(std::max(kFirstSlots, slots_.size() * 2));
  const std::size_t mask = larger.size() - 1;
  for (const Entry& entry : entries_) {
    const std::uint64_t hash = keyedHash({entry.text, entry.size});
    std::size_t at = hash & mask;
    while (larger[at].entry != 0) at = (at + 1) & mask;
    larger[at] = {upperHalf(hash), static_cast<std::uint32_t>(&entry - entries_.data() + 1)};
  }
  slots_ = std::move(larger);
}

const char* KeyTable::keepText(std::string_view text) {
  if (text.empty()) return "";
  if (text.size() > freeBytes_) {
    const std::size_t block =
        std::max(text.size(),
                 std::min(kLargestBlock, kFirstBlock << std::min<std::size_t>(blocks_.size(), 6)));
    blocks_.emplace_back(new char[block]);
    free_ = blocks_.back().get();
    freeBytes_ = block;
  }
  char* copy = free_;
  std::memcpy(copy, text.data(), text.size());
  free_ += text.size();
  freeBytes_ -= text.size();
  return copy;
}

}  // namespace qv
