#pragma once

#include <atomic>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>

#include "qvparsersupport/common/export.h"

namespace qv {

// The memory of one tree of JSON objects: what its reads make (child objects with their control
// blocks, journals, lists of children) is cut off large blocks, one after the other, and given back
// all at once. Counts its holders; they may let go on any thread, but only one allocates at a time.
// Internal.
class QV_EXPORT QVIPJSONArena {
 public:
  struct Release {
    void operator()(QVIPJSONArena* arena) const { arena->release(); }
  };
  using Owner = std::unique_ptr<QVIPJSONArena, Release>;

  // Held once, by the caller.
  static QVIPJSONArena* make();
  QVIPJSONArena(const QVIPJSONArena&) = delete;
  QVIPJSONArena& operator=(const QVIPJSONArena&) = delete;

  void retain() noexcept { holders_.fetch_add(1, std::memory_order_relaxed); }
  void release() noexcept {
    if (holders_.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy();
  }

  void* allocate(std::size_t size, std::size_t alignment) {
    const std::size_t padding = -reinterpret_cast<std::size_t>(free_) & (alignment - 1);
    if (padding + size > freeBytes_) return allocateInNewBlock(size, alignment);
    void* const result = free_ + padding;
    free_ += padding + size;
    freeBytes_ -= padding + size;
    return result;
  }

 private:
  struct Block {
    Block* next;
  };

  QVIPJSONArena(std::byte* free, std::size_t freeBytes) : free_(free), freeBytes_(freeBytes) {}
  ~QVIPJSONArena() = default;
  void* allocateInNewBlock(std::size_t size, std::size_t alignment);
  void destroy() noexcept;

  std::atomic<std::size_t> holders_{1};
  std::byte* free_;
  std::size_t freeBytes_;
  std::size_t nextBlockBytes_ = 0;
  Block* blocks_ = nullptr;
};

// For std::allocate_shared: each allocation is a holder of the arena, so a child that is kept
// alone keeps the memory of its tree.
template <class Type>
class QVIPJSONArenaAllocator {
 public:
  using value_type = Type;

  explicit QVIPJSONArenaAllocator(QVIPJSONArena& arena) : arena_(&arena) {}
  template <class Other>
  QVIPJSONArenaAllocator(  // NOLINT(google-explicit-constructor)
      const QVIPJSONArenaAllocator<Other>& other)
      : arena_(other.arena_) {}

  Type* allocate(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / 2 / sizeof(Type)) throw std::bad_alloc();
    void* const place = arena_->allocate(count * sizeof(Type), alignof(Type));
    arena_->retain();
    return static_cast<Type*>(place);
  }
  void deallocate(Type*, std::size_t) noexcept { arena_->release(); }

  template <class Other>
  bool operator==(const QVIPJSONArenaAllocator<Other>& other) const {
    return arena_ == other.arena_;
  }

 private:
  template <class Other>
  friend class QVIPJSONArenaAllocator;

  QVIPJSONArena* arena_;
};

}  // namespace qv
