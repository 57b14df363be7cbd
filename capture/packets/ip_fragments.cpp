#include "capture/packets/ip_fragments.h"

#include <iterator>
#include <utility>

namespace qv::capture {
namespace {

constexpr LayerResult kWaiting{LayerOutcome::otherKind, ""};
constexpr LayerResult kMalformed{LayerOutcome::unreadable, "its fragment is malformed"};
constexpr LayerResult kContradiction{LayerOutcome::unreadable,
                                     "its fragment contradicts an earlier one"};

constexpr std::size_t kLongest = 65535;
constexpr std::size_t kUnit = 8;  // every fragment but the last is a multiple of it
// What a piece takes besides its bytes, roughly.
constexpr std::size_t kPieceOverhead = 128;

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kTimeToComplete = 60 * kSecond;
// Fragments that come again after their packet was complete do so soon; later they belong to
// another packet with the same identification.
constexpr std::int64_t kTimeToRepeat = 2 * kSecond;

bool isOlder(const CapturePlace& earlier, const CapturePlace& later, std::int64_t limit) {
  if (!earlier.timeNs || !later.timeNs || *later.timeNs <= *earlier.timeNs) return false;
  // The difference of two times may be more than 63 bits.
  return static_cast<std::uint64_t>(*later.timeNs) - static_cast<std::uint64_t>(*earlier.timeNs) >
         static_cast<std::uint64_t>(limit);
}

}  // namespace

LayerResult IPFragments::add(IPPacket& packet, const CapturePlace& place) {
  const std::size_t begin = packet.fragmentOffset;
  const std::size_t length = packet.payload.length;
  if (length == 0 || length > kLongest - begin) return kMalformed;
  if (packet.moreFragments && length % kUnit != 0) return kMalformed;
  const std::size_t end = begin + length;

  const auto entry = partialOf({.source = packet.source.address,
                                .destination = packet.destination.address,
                                .identification = packet.identification,
                                .isIPv6 = packet.source.isIPv6},
                               place);
  Partial& partial = *entry;
  if (partial.completed) return kWaiting;
  const auto next = partial.pieces.lower_bound(begin);
  if (next != partial.pieces.end() && next->first == begin && next->second.length == length) {
    return kWaiting;  // the same once more
  }
  if (next != partial.pieces.end() && next->first < end) return kContradiction;
  if (next != partial.pieces.begin()) {
    const auto& [offset, piece] = *std::prev(next);
    if (offset + piece.length > begin) return kContradiction;
  }
  if (partial.length && end > *partial.length) return kContradiction;
  if (!packet.moreFragments) {
    if (partial.length || next != partial.pieces.end()) return kContradiction;
    partial.length = end;
  }

  const ByteView captured = packet.payload.captured;
  partial.pieces.emplace_hint(
      next, begin, Piece{.captured = Bytes(captured.begin(), captured.end()), .length = length});
  partial.received += length;
  partial.held += captured.size() + kPieceOverhead;
  held_ += captured.size() + kPieceOverhead;
  if (begin == 0) partial.protocol = packet.protocol;
  if (partial.received == partial.length) {
    assemble(partial, packet);
    partial.completed = place;
    return {};
  }
  keepWithinLimits();
  return kWaiting;
}

IPFragments::Partials::iterator IPFragments::partialOf(const Key& key, const CapturePlace& place) {
  if (const auto known = index_.find(key); known != index_.end()) {
    const auto partial = known->second;
    const bool stale = partial->completed ? isOlder(*partial->completed, place, kTimeToRepeat)
                                          : isOlder(partial->place, place, kTimeToComplete);
    if (!stale) return partial;
    giveUp(partial, incomplete_);
  }
  const auto partial = partials_.insert(
      partials_.end(),
      Partial{
          .key = key, .place = place, .pieces = {}, .length = {}, .protocol = {}, .completed = {}});
  index_.emplace(key, partial);
  return partial;
}

void IPFragments::giveUp(Partials::iterator partial, PacketCount& reason) {
  if (!partial->completed) reason.add(partial->place);
  held_ -= partial->held;
  index_.erase(partial->key);
  partials_.erase(partial);
}

void IPFragments::keepWithinLimits() {
  while (partials_.size() > limits_.packets || held_ > limits_.bytes) {
    giveUp(partials_.begin(), overLimits_);
  }
}

// The captured part ends with the first piece that the capture cut.
void IPFragments::assemble(Partial& partial, IPPacket& packet) {
  assembled_.clear();
  for (const auto& [offset, piece] : partial.pieces) {
    if (assembled_.size() != offset) break;
    assembled_.insert(assembled_.end(), piece.captured.begin(), piece.captured.end());
  }
  packet.payload = {assembled_, *partial.length};
  packet.protocol = *partial.protocol;
  packet.isFragment = false;
  partial.pieces.clear();
  held_ -= std::exchange(partial.held, 0);
}

void IPFragments::finish() {
  while (!partials_.empty()) giveUp(partials_.begin(), incomplete_);
}

}  // namespace qv::capture
