#include "qvparsersupport/common/value_storage.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>

namespace qv {

namespace {

constexpr std::size_t kLargestBlock = 1 << 20;

// Where the sorted index of a large dictionary stands: right behind its entries.
std::uint32_t* indexOf(ValueEntryNode* entries, std::size_t size) {
  return reinterpret_cast<std::uint32_t*>(entries + size);
}
const std::uint32_t* indexOf(const ValueEntryNode* entries, std::size_t size) {
  return reinterpret_cast<const std::uint32_t*>(entries + size);
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
    const std::size_t wanted = std::max(size + alignment, nextBlock_);
    auto* block = static_cast<Block*>(::operator new(sizeof(Block) + wanted));
    block->next = blocks_;
    blocks_ = block;
    free_ = reinterpret_cast<std::byte*>(block + 1);
    freeBytes_ = wanted;
    nextBlock_ = std::min(std::max(nextBlock_, wanted) * 2, kLargestBlock);
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

ValueEntryNode* ValueStorage::copyEntries(std::span<const ValueEntryNode> entries,
                                          std::size_t& size,
                                          std::vector<std::string_view>* repeated) {
  size = entries.size();
  if (entries.empty()) return nullptr;
  if (entries.size() > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  const std::size_t indexBytes =
      entries.size() > kLinearLookup ? entries.size() * sizeof(std::uint32_t) : 0;
  auto* copy = static_cast<ValueEntryNode*>(
      allocate(entries.size_bytes() + indexBytes, alignof(ValueEntryNode)));

  if (entries.size() <= kLinearLookup) {
    std::size_t kept = 0;
    for (const ValueEntryNode& entry : entries) {
      const std::size_t earlier = findEntry(copy, kept, entry.key);
      if (earlier < kept) {
        copy[earlier].value = entry.value;
        if (repeated != nullptr) repeated->push_back(entry.key);
      } else {
        std::construct_at(copy + kept++, entry);
      }
    }
    size = kept;
    return copy;
  }

  // Many keys: one stable sort finds the repeats and is the index at the same time.
  std::vector<std::uint32_t> order(entries.size());
  std::iota(order.begin(), order.end(), std::uint32_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::uint32_t left, std::uint32_t right) {
    return entries[left].key < entries[right].key;
  });
  std::vector<std::uint32_t> valueFrom(entries.size());
  std::vector<bool> dropped(entries.size());
  for (std::size_t first = 0; first < order.size();) {
    std::size_t end = first + 1;
    while (end < order.size() && entries[order[end]].key == entries[order[first]].key) {
      dropped[order[end]] = true;
      if (repeated != nullptr) repeated->push_back(entries[order[end]].key);
      ++end;
    }
    valueFrom[order[first]] = order[end - 1];
    first = end;
  }
  std::vector<std::uint32_t> place(entries.size());
  std::size_t kept = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (dropped[i]) continue;
    place[i] = static_cast<std::uint32_t>(kept);
    std::construct_at(copy + kept++, ValueEntryNode{entries[i].key, entries[valueFrom[i]].value});
  }
  size = kept;
  if (kept > kLinearLookup) {
    std::uint32_t* index = indexOf(copy, kept);
    std::size_t at = 0;
    for (const std::uint32_t entry : order) {
      if (!dropped[entry]) std::construct_at(index + at++, place[entry]);
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
