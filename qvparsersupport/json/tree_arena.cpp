#include "qvparsersupport/json/tree_arena.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace qv {

namespace {

// The first block holds the arena itself and is what a small body needs, so that such a tree is one
// allocation. Later ones double until they are large enough to make allocations few; they stay far
// below the size of a large tree, whose last block is not full.
constexpr std::size_t kFirstBlock = 1024;
constexpr std::size_t kLargestBlock = 1 << 18;

}  // namespace

QVIPJSONArena* QVIPJSONArena::make() {
  auto* const memory = static_cast<std::byte*>(::operator new(kFirstBlock));
  constexpr std::size_t kLeft = kFirstBlock - sizeof(QVIPJSONArena);
  auto* const arena = ::new (memory) QVIPJSONArena(memory + sizeof(QVIPJSONArena), kLeft);
  arena->nextBlockBytes_ = 2 * kFirstBlock;
  return arena;
}

void* QVIPJSONArena::allocateInNewBlock(std::size_t size, std::size_t alignment) {
  if (size > std::numeric_limits<std::size_t>::max() / 2) throw std::bad_alloc();
  const std::size_t wanted = std::max(sizeof(Block) + size + alignment, nextBlockBytes_);
  auto* const block = ::new (::operator new(wanted)) Block{blocks_};
  blocks_ = block;
  free_ = reinterpret_cast<std::byte*>(block + 1);
  freeBytes_ = wanted - sizeof(Block);
  nextBlockBytes_ = std::min(2 * nextBlockBytes_, kLargestBlock);
  return allocate(size, alignment);
}

void QVIPJSONArena::destroy() noexcept {
  while (blocks_ != nullptr) ::operator delete(std::exchange(blocks_, blocks_->next));
  this->~QVIPJSONArena();
  ::operator delete(static_cast<void*>(this));
}

}  // namespace qv
