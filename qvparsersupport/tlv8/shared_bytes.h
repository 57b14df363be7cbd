#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv {

// A handle to bytes that several owners share and nobody changes. The bytes and their count are one
// allocation. Unlike with a shared_ptr, many references are taken or given back in one step, which
// is what keeps a packet of many tiny fields cheap.
class QV_EXPORT SharedBytes {
 public:
  SharedBytes() = default;
  static SharedBytes copyOf(ByteView bytes);
  SharedBytes(const SharedBytes& other) noexcept : block_(other.block_) {
    if (block_ != nullptr) block_->references.fetch_add(1, std::memory_order_relaxed);
  }
  SharedBytes(SharedBytes&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  SharedBytes& operator=(SharedBytes other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~SharedBytes() {
    if (block_ != nullptr) giveBack(block_, 1);
  }

  bool isNull() const { return block_ == nullptr; }
  ByteView view() const {
    if (block_ == nullptr) return {};
    return {reinterpret_cast<const std::uint8_t*>(block_ + 1), block_->size};
  }

  // Takes `count` references at once, each to be handed to a handle by `adoptReserved`; those never
  // handed on leak.
  void reserveReferences(std::size_t count) const;
  SharedBytes adoptReserved() const { return SharedBytes(block_); }
  // Empties the handle without giving its reference back; answers whether it shared the bytes of
  // `other`, who then owes one `releaseAbandoned`. A handle of other bytes is left alone.
  bool abandonTo(const SharedBytes& other) noexcept {
    if (block_ == nullptr || block_ != other.block_) return false;
    block_ = nullptr;
    return true;
  }
  void releaseAbandoned(std::size_t count) const noexcept;

 private:
  struct Block {
    std::atomic<std::size_t> references;
    std::size_t size;
  };

  explicit SharedBytes(Block* block) : block_(block) {}
  static void giveBack(Block* block, std::size_t count) noexcept;

  Block* block_ = nullptr;
};

}  // namespace qv
