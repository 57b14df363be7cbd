#include "qvparsersupport/common/value_storage.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>

namespace qv {

namespace {

constexpr std::size_t kSmallestBlock = 64;
constexpr std::size_t kLargestBlock = 1 << 20;

// Where the sorted index of a large dictionary stands: right behind its entries.
std::uint32_t* indexOf(ValueEntryNode* entries, std::size_t size) {
  return reinterpret_cast<std::uint32_t*>(entries + size);
}
const std::uint32_t* indexOf(const ValueEntryNode* entries, std::size_t size) {
  return reinterpret_cast<const std::uint32_t*>(entries + size);
}

// One of 64 places for a key: keys that fall on different places are different keys.
std::uint64_t placeOf(std::string_view key) {
  if (key.empty()) return 1;
  const unsigned mixed = static_cast<unsigned char>(key.front()) * 7U +
                         static_cast<unsigned char>(key.back()) * 3U +
                         static_cast<unsigned>(key.size()) * 11U;
  return std::uint64_t{1} << (mixed % 64);
}

}  // namespace

void ValueStorage::release() noexcept {
  if (references_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  ValueStorage* dying = this;
  dying->nextDying_ = nullptr;
  while (dying != nullptr) {
    ValueStorage* current = dying;
    dying = dying->nextDying_;
    for (ValueStorage* child : current->children_) {
      if (child->references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        child->nextDying_ = dying;
        dying = child;
      }
    }
    delete current;
  }
}

ValueStorage::~ValueStorage() {
  while (blocks_ != nullptr) {
    Block* next = blocks_->next;
    ::operator delete(blocks_);
    blocks_ = next;
  }
}

void* ValueStorage::allocate(std::size_t size, std::size_t alignment) {
  const auto misaligned = reinterpret_cast<std::uintptr_t>(free_) % alignment;
  const std::size_t padding = misaligned == 0 ? 0 : alignment - misaligned;
  if (free_ == nullptr || padding + size > freeBytes_) {
    // A block is half of what there is already, so little is left over in the last one.
    const std::size_t usual = std::clamp(blockBytes_ / 2, kSmallestBlock, kLargestBlock);
    const std::size_t wanted = std::max(size + alignment, usual);
    auto* block = static_cast<Block*>(::operator new(sizeof(Block) + wanted));
    block->next = blocks_;
    blocks_ = block;
    free_ = reinterpret_cast<std::byte*>(block + 1);
    freeBytes_ = wanted;
    blockBytes_ += wanted;
    return allocate(size, alignment);
  }
  free_ += padding;
  void* result = free_;
  free_ += size;
  freeBytes_ -= padding + size;
  return result;
}

std::string_view ValueStorage::copyText(std::string_view text) {
  if (text.empty()) return {};
  auto* copy = static_cast<char*>(allocate(text.size(), 1));
  std::memcpy(copy, text.data(), text.size());
  return {copy, text.size()};
}

ValueNode* ValueStorage::copyNodes(std::span<const ValueNode> nodes) {
  if (nodes.empty()) return nullptr;
  auto* copy = static_cast<ValueNode*>(allocate(nodes.size_bytes(), alignof(ValueNode)));
  std::uninitialized_copy(nodes.begin(), nodes.end(), copy);
  return copy;
}

ValueEntryNode* ValueStorage::copyEntries(std::span<const std::string_view> keys,
                                          std::span<const ValueNode> values, std::size_t& size) {
  size = keys.size();
  if (keys.empty()) return nullptr;
  if (keys.size() > kLinearLookup) return copyManyEntries(keys, values, size);
  auto* copy = static_cast<ValueEntryNode*>(
      allocate(keys.size() * sizeof(ValueEntryNode), alignof(ValueEntryNode)));
  std::size_t kept = 0;
  std::uint64_t taken = 0;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const std::uint64_t place = placeOf(keys[i]);
    const std::size_t earlier = (taken & place) == 0 ? kept : findEntry(copy, kept, keys[i]);
    taken |= place;
    if (earlier < kept) {
      copy[earlier].value = values[i];
    } else {
      std::construct_at(copy + kept++, ValueEntryNode{keys[i], values[i]});
    }
  }
  size = kept;
  return copy;
}

ValueEntryNode* ValueStorage::copyEntries(std::span<const ValueEntryNode> entries,
                                          std::size_t& size) {
  std::vector<std::string_view> keys;
  std::vector<ValueNode> values;
  keys.reserve(entries.size());
  values.reserve(entries.size());
  for (const ValueEntryNode& entry : entries) {
    keys.push_back(entry.key);
    values.push_back(entry.value);
  }
  return copyEntries(keys, values, size);
}

// One stable sort finds the repeats and is the index at the same time.
ValueEntryNode* ValueStorage::copyManyEntries(std::span<const std::string_view> keys,
                                              std::span<const ValueNode> values,
                                              std::size_t& size) {
  if (keys.size() > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  auto* copy = static_cast<ValueEntryNode*>(allocate(
      keys.size() * (sizeof(ValueEntryNode) + sizeof(std::uint32_t)), alignof(ValueEntryNode)));
  std::vector<std::uint32_t> order(keys.size());
  std::iota(order.begin(), order.end(), std::uint32_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::uint32_t left, std::uint32_t right) {
    return keys[left] < keys[right];
  });
  // Of a run of equal keys the first gives the place and the last the value.
  std::vector<std::uint32_t> valueFrom(keys.size());
  std::vector<bool> dropped(keys.size());
  for (std::size_t first = 0; first < order.size();) {
    std::size_t end = first + 1;
    for (; end < order.size() && keys[order[end]] == keys[order[first]]; ++end) {
      dropped[order[end]] = true;
    }
    valueFrom[order[first]] = order[end - 1];
    first = end;
  }
  std::size_t kept = 0;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (dropped[i]) continue;
    const ValueNode& value = values[valueFrom[i]];
    valueFrom[i] = static_cast<std::uint32_t>(kept);  // from here on the place of the entry
    std::construct_at(copy + kept++, ValueEntryNode{keys[i], value});
  }
  size = kept;
  if (kept > kLinearLookup) {
    std::uint32_t* index = indexOf(copy, kept);
    for (const std::uint32_t entry : order) {
      if (!dropped[entry]) std::construct_at(index++, valueFrom[entry]);
    }
  }
  return copy;
}

ValueEntryNode* ValueStorage::copyFewEntries(std::span<const ValueEntryNode> entries) {
  if (entries.empty()) return nullptr;
  auto* copy =
      static_cast<ValueEntryNode*>(allocate(entries.size_bytes(), alignof(ValueEntryNode)));
  std::uninitialized_copy(entries.begin(), entries.end(), copy);
  return copy;
}

void ValueStorage::adopt(ValueStorage* child) {
  if (child == nullptr) return;
  // One storage often serves many neighbours; keeping it once is enough for a run of them.
  if (!children_.empty() && children_.back() == child) return;
  children_.push_back(child);
  child->retain();
}

std::size_t findEntry(const ValueEntryNode* entries, std::size_t size, std::string_view key) {
  if (size <= ValueStorage::kLinearLookup) {
    std::size_t i = 0;
    while (i < size && entries[i].key != key) ++i;
    return i;
  }
  const std::uint32_t* index = indexOf(entries, size);
  const std::uint32_t* found = std::lower_bound(
      index, index + size, key,
      [&](std::uint32_t entry, std::string_view wanted) { return entries[entry].key < wanted; });
  if (found == index + size || entries[*found].key != key) return size;
  return *found;
}

}  // namespace qv
