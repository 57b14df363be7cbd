#pragma once

#include <cstddef>
#include <cstdint>

#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

// The bytes of a stream that were taken in and not yet consumed, with their place in the stream.
class StreamWindow {
 public:
  void append(ByteView bytes) {
    // Moving the rest down pays for itself: at least as many bytes were consumed since last time.
    if (begin_ > bytes_.size() / 2) {
      const auto rest = bytes_.begin() + static_cast<std::ptrdiff_t>(begin_);
      if (bytes_.capacity() > kKeptCapacity) {
        bytes_ = Bytes(rest, bytes_.end());
      } else {
        bytes_.erase(bytes_.begin(), rest);
      }
      begin_ = 0;
    }
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  }

  void consume(std::size_t count) {
    begin_ += count;
    offset_ += count;
    if (begin_ < bytes_.size()) return;
    bytes_.clear();
    begin_ = 0;
    if (bytes_.capacity() > kKeptCapacity) Bytes().swap(bytes_);
  }

  // Leaves out bytes that never come. Only while the window is empty.
  void jump(std::uint64_t count) { offset_ += count; }

  // Frees what is held for its capacity alone.
  void trim() {
    bytes_ = Bytes(bytes_.begin() + static_cast<std::ptrdiff_t>(begin_), bytes_.end());
    begin_ = 0;
  }

  ByteView view() const { return ByteView(bytes_).subspan(begin_); }
  bool empty() const { return begin_ == bytes_.size(); }
  // Of the first byte of `view` in the stream.
  std::uint64_t offset() const { return offset_; }
  std::size_t capacity() const { return bytes_.capacity(); }

 private:
  static constexpr std::size_t kKeptCapacity = std::size_t{1} << 20;
  Bytes bytes_;
  std::size_t begin_ = 0;
  std::uint64_t offset_ = 0;
};

}  // namespace qv::capture
