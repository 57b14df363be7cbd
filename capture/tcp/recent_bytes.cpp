#include "capture/tcp/recent_bytes.h"

#include <algorithm>
#include <cstring>

namespace qv::capture {

namespace {

std::size_t ringPlace(std::int64_t position) {
  return static_cast<std::size_t>(position) % RecentBytes::kWindow;
}

}  // namespace

std::optional<StreamStretch> differenceOf(std::int64_t position, const std::uint8_t* one,
                                          const std::uint8_t* other, std::size_t size) {
  if (size == 0 || std::memcmp(one, other, size) == 0) return std::nullopt;
  std::size_t first = 0;
  while (one[first] == other[first]) ++first;
  while (one[size - 1] == other[size - 1]) --size;
  return StreamStretch{position + static_cast<std::int64_t>(first),
                       position + static_cast<std::int64_t>(size)};
}

void extend(std::optional<StreamStretch>& stretch, const std::optional<StreamStretch>& by) {
  if (!by) return;
  if (!stretch) stretch = by;
  stretch->begin = std::min(stretch->begin, by->begin);
  stretch->end = std::max(stretch->end, by->end);
}

std::optional<std::uint32_t> RecentBytes::slotFor(std::uint64_t stream) {
  if (uses_ < nextSearch_) return std::nullopt;
  auto slot = std::ranges::min_element(slots_, {}, &Slot::used);
  if (slots_.size() < kSlots && (slot == slots_.end() || slot->stream != 0)) {
    slot = slots_.insert(slots_.end(), Slot{});
    slot->ring = std::make_unique_for_overwrite<std::uint8_t[]>(kWindow);
  } else if (slot->stream != 0 && uses_ - slot->used < kQuiet) {
    // Searching again and again would cost more than what it finds is worth.
    nextSearch_ = uses_ + kSlots;
    return std::nullopt;
  }
  slot->stream = stream;
  slot->begin = slot->end = 0;
  return static_cast<std::uint32_t>(slot - slots_.begin());
}

void RecentBytes::append(std::uint32_t& slot, std::uint64_t stream, std::int64_t position,
                         ByteView bytes) {
  ++uses_;
  if (slot >= slots_.size() || slots_[slot].stream != stream) {
    const auto found = slotFor(stream);
    if (!found) return;
    slot = *found;
  }
  Slot& mine = slots_[slot];
  mine.used = uses_;
  if (mine.end != position) mine.begin = position;
  mine.end = position + static_cast<std::int64_t>(bytes.size());
  mine.begin = std::max(mine.begin, mine.end - static_cast<std::int64_t>(kWindow));
  if (bytes.size() > kWindow) bytes = bytes.last(kWindow);
  const std::size_t at = ringPlace(mine.end - static_cast<std::int64_t>(bytes.size()));
  const std::size_t straight = std::min(bytes.size(), kWindow - at);
  std::memcpy(mine.ring.get() + at, bytes.data(), straight);
  std::memcpy(mine.ring.get(), bytes.data() + straight, bytes.size() - straight);
}

std::optional<StreamStretch> RecentBytes::difference(std::uint32_t slot, std::uint64_t stream,
                                                     std::int64_t position, ByteView bytes) const {
  if (slot >= slots_.size() || slots_[slot].stream != stream) return std::nullopt;
  const Slot& mine = slots_[slot];
  const std::int64_t begin = std::max(position, mine.begin);
  const std::int64_t end = std::min(position + static_cast<std::int64_t>(bytes.size()), mine.end);
  if (begin >= end) return std::nullopt;
  const std::uint8_t* copy = bytes.data() + (begin - position);
  const auto size = static_cast<std::size_t>(end - begin);
  const std::size_t at = ringPlace(begin);
  const std::size_t straight = std::min(size, kWindow - at);
  auto result = differenceOf(begin, mine.ring.get() + at, copy, straight);
  extend(result, differenceOf(begin + static_cast<std::int64_t>(straight), mine.ring.get(),
                              copy + straight, size - straight));
  return result;
}

void RecentBytes::release(std::uint32_t slot, std::uint64_t stream) {
  if (slot >= slots_.size() || slots_[slot].stream != stream) return;
  slots_[slot].stream = 0;
  slots_[slot].used = 0;
  nextSearch_ = 0;
}

}  // namespace qv::capture
