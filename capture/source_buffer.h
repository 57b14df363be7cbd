#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "capture/byte_source.h"

namespace qv::capture {

// Gives the bytes of a source as runs of a wanted length. Reads no further than it must, and grows
// only as bytes arrive.
class SourceBuffer {
 public:
  explicit SourceBuffer(std::shared_ptr<ByteSource> source) : source_(std::move(source)) {}

  // The next `count` bytes, fewer only at the end of the source; valid until the next call.
  ByteView atLeast(std::size_t count) {
    while (end_ - begin_ < count && readMore()) {
    }
    return ByteView(bytes_).subspan(begin_, std::min(count, end_ - begin_));
  }

  // False when the source ends before.
  bool skip(std::uint64_t count) {
    while (count > end_ - begin_) {
      count -= end_ - begin_;
      position_ += end_ - begin_;
      begin_ = end_;
      if (!readMore()) return false;
    }
    begin_ += static_cast<std::size_t>(count);
    position_ += count;
    return true;
  }

  // Of the next byte in the source, and of the last one that was read from it.
  std::uint64_t position() const { return position_; }
  std::uint64_t end() const { return position_ + (end_ - begin_); }
  const ByteSource& source() const { return *source_; }

 private:
  static constexpr std::size_t kFirstSize = std::size_t{64} << 10;

  bool readMore() {
    if (begin_ > 0) {
      std::copy(at(begin_), at(end_), bytes_.begin());
      end_ -= std::exchange(begin_, 0);
    }
    if (end_ == bytes_.size()) bytes_.resize(std::max(kFirstSize, 2 * bytes_.size()));
    const std::size_t count = source_->read(std::span(bytes_).subspan(end_));
    end_ += count;
    return count > 0;
  }
  Bytes::iterator at(std::size_t index) {
    return bytes_.begin() + static_cast<std::ptrdiff_t>(index);
  }

  std::shared_ptr<ByteSource> source_;
  Bytes bytes_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::uint64_t position_ = 0;
};

}  // namespace qv::capture
