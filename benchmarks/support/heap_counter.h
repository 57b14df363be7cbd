#pragma once

#include <cstddef>

namespace qv::bench {

// Counts what the allocator hands out through operator new from here to its end; one at a time, in
// a program with one thread.
class HeapCounter {
 public:
  HeapCounter();
  HeapCounter(const HeapCounter&) = delete;
  HeapCounter& operator=(const HeapCounter&) = delete;
  ~HeapCounter();

  std::size_t held() const;
  std::size_t peak() const;
  std::size_t allocations() const;
};

}  // namespace qv::bench
