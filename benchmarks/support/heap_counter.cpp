#include "benchmarks/support/heap_counter.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

bool counting = false;
std::size_t heldBytes = 0;
std::size_t peakBytes = 0;
std::size_t allocationCount = 0;

}  // namespace

void* operator new(std::size_t size) {
  void* place = std::malloc(size);
  if (place == nullptr) throw std::bad_alloc();
  if (counting) {
    ++allocationCount;
    heldBytes += malloc_usable_size(place);
    if (heldBytes > peakBytes) peakBytes = heldBytes;
  }
  return place;
}
void operator delete(void* place) noexcept {
  if (counting && place != nullptr) heldBytes -= malloc_usable_size(place);
  std::free(place);
}
void operator delete(void* place, std::size_t) noexcept {
  operator delete(place);
}

namespace qv::bench {

HeapCounter::HeapCounter() {
  heldBytes = peakBytes = allocationCount = 0;
  counting = true;
}
HeapCounter::~HeapCounter() {
  counting = false;
}

std::size_t HeapCounter::held() const {
  return heldBytes;
}
std::size_t HeapCounter::peak() const {
  return peakBytes;
}
std::size_t HeapCounter::allocations() const {
  return allocationCount;
}

}  // namespace qv::bench
