#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "capture/io/byte_source.h"

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
    return {bytes_.get() + begin_, std::min(count, end_ - begin_)};
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
    if (end_ - begin_ == size_) {
      // Not filled beforehand, so that small inputs touch little memory.
      const std::size_t size = std::max(kFirstSize, 2 * size_);
      auto larger = std::make_unique_for_overwrite<std::uint8_t[]>(size);
      std::copy_n(bytes_.get() + begin_, end_ - begin_, larger.get());
      bytes_ = std::move(larger);
      size_ = size;
    } else if (begin_ > 0) {
      std::copy(bytes_.get() + begin_, bytes_.get() + end_, bytes_.get());
    }
    end_ -= std::exchange(begin_, 0);
    const std::size_t count = source_->read({bytes_.get() + end_, size_ - end_});
    end_ += count;
    return count > 0;
  }

  std::shared_ptr<ByteSource> source_;
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t size_ = 0;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::uint64_t position_ = 0;
};

}  // namespace qv::capture
