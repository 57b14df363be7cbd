#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

// A stretch of a stream, `end` excluded.
struct StreamStretch {
  std::int64_t begin = 0;
  std::int64_t end = 0;
};

// From the first to the last place where two copies of a stretch that begins at `position` differ;
// null when they are the same.
std::optional<StreamStretch> differenceOf(std::int64_t position, const std::uint8_t* one,
                                          const std::uint8_t* other, std::size_t size);
// The smallest stretch that holds both.
void extend(std::optional<StreamStretch>& stretch, const std::optional<StreamStretch>& by);

// The bytes that streams delivered last, kept to notice later copies that differ: up to 64 KiB each
// for the 64 streams that delivered last, whoever else there is. A stream is known by a number
// other than 0 and remembers the slot that it was given.
class RecentBytes {
 public:
  static constexpr std::size_t kWindow = std::size_t{1} << 16;
  static constexpr std::size_t kSlots = 64;
  // What "a while" is, in deliveries of all streams.
  static constexpr std::uint64_t kQuiet = 1024;

  void append(std::uint32_t& slot, std::uint64_t stream, std::int64_t position, ByteView bytes);
  // Compares with what is still held of these bytes.
  std::optional<StreamStretch> difference(std::uint32_t slot, std::uint64_t stream,
                                          std::int64_t position, ByteView bytes) const;
  void release(std::uint32_t slot, std::uint64_t stream);

 private:
  struct Slot {
    std::unique_ptr<std::uint8_t[]> ring;
    std::uint64_t stream = 0;
    std::uint64_t used = 0;
    std::int64_t begin = 0;
    std::int64_t end = 0;
  };
  // Null when all slots are in use.
  std::optional<std::uint32_t> slotFor(std::uint64_t stream);

  std::vector<Slot> slots_;
  std::uint64_t uses_ = 0;
  std::uint64_t nextSearch_ = 0;  // not before so many uses
};

}  // namespace qv::capture
