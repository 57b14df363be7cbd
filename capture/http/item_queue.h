#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace qv::capture {

// First in, first out. While it is empty it holds next to no memory, unlike a deque, of which a
// capture with many idle connections would have several for each of them.
template <class T>
class ItemQueue {
 public:
  void push_back(T item) { items_.push_back(std::move(item)); }
  void pop_front() {
    if (++first_ == items_.size()) return clear();
    // Half of it at a time, so that each item is moved once on average.
    if (first_ * 2 < items_.size()) return;
    items_.erase(items_.begin(), begin());
    first_ = 0;
  }
  void clear() {
    first_ = 0;
    if (items_.capacity() * sizeof(T) > kKeptBytes) {
      std::vector<T>().swap(items_);
    } else {
      items_.clear();
    }
  }

  bool empty() const { return first_ == items_.size(); }
  std::size_t size() const { return items_.size() - first_; }
  T& front() { return items_[first_]; }
  const T& front() const { return items_[first_]; }
  const T& back() const { return items_.back(); }
  const T& operator[](std::size_t index) const { return items_[first_ + index]; }

  auto begin() { return items_.begin() + static_cast<std::ptrdiff_t>(first_); }
  auto begin() const { return items_.begin() + static_cast<std::ptrdiff_t>(first_); }
  auto end() { return items_.end(); }
  auto end() const { return items_.end(); }
  auto rbegin() const { return items_.rbegin(); }
  auto rend() const { return items_.rend() - static_cast<std::ptrdiff_t>(first_); }

 private:
  static constexpr std::size_t kKeptBytes = 256;
  std::vector<T> items_;
  std::size_t first_ = 0;  // those before it are gone
};

}  // namespace qv::capture
