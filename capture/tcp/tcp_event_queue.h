#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "capture/tcp/tcp_connections.h"

namespace qv::capture {

// The events that were made and not yet told, and the bytes that they point at as far as they are
// not those of the segment that was added last.
class TCPEventQueue {
 public:
  TCPEvent& add(TCPEventKind kind) {
    TCPEvent& event = events_.emplace_back();
    event.kind = kind;
    return event;
  }
  void keep(Bytes&& bytes) { kept_.push_back(std::move(bytes)); }

  std::optional<TCPEvent> take() {
    if (told_ == events_.size()) {
      reclaim();
      return std::nullopt;
    }
    return events_[told_++];
  }
  // Drops the bytes of events that were told.
  void reclaim() {
    if (told_ < events_.size()) return;
    if (events_.capacity() > kKeptCapacity) std::vector<TCPEvent>().swap(events_);
    if (kept_.capacity() > kKeptCapacity) std::vector<Bytes>().swap(kept_);
    events_.clear();
    kept_.clear();
    told_ = 0;
  }

 private:
  static constexpr std::size_t kKeptCapacity = 1024;
  std::vector<TCPEvent> events_;
  std::vector<Bytes> kept_;
  std::size_t told_ = 0;
};

}  // namespace qv::capture
