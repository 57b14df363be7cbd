#include "qvparsersupport/tlv8/shared_bytes.h"

#include <cstring>
#include <new>

namespace qv {

SharedBytes SharedBytes::copyOf(ByteView bytes) {
  void* memory = ::operator new(sizeof(Block) + bytes.size());
  auto* block = new (memory) Block{1, bytes.size()};
  auto* copy = static_cast<std::uint8_t*>(memory) + sizeof(Block);
  if (!bytes.empty()) std::memcpy(copy, bytes.data(), bytes.size());
  return SharedBytes(block);
}

void SharedBytes::reserveReferences(std::size_t count) const {
  block_->references.fetch_add(count, std::memory_order_relaxed);
}

void SharedBytes::releaseAbandoned(std::size_t count) const noexcept {
  if (count > 0) giveBack(block_, count);
}

void SharedBytes::giveBack(Block* block, std::size_t count) noexcept {
  if (block->references.fetch_sub(count, std::memory_order_acq_rel) != count) return;
  block->~Block();
  ::operator delete(block);
}

}  // namespace qv
