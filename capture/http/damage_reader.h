#pragma once

#include <cstdint>
#include <optional>

#include "capture/http/framed_message.h"
#include "capture/http/start_line.h"
#include "capture/io/stream_window.h"

namespace qv::capture {

// Skips bytes that begin no message, up to the next start line or the end of the stream.
class DamageReader {
 public:
  // Of the given kind; without one the first bytes tell.
  explicit DamageReader(Direction direction, std::optional<DamageKind> kind = std::nullopt)
      : search_(direction), kind_(kind) {}

  // Consumes what it can; true once the start line or the end is reached.
  bool skip(StreamWindow& window, bool atEnd);
  // What was skipped, for the stretch of the stream that is reported as damaged.
  Damage damage(std::uint64_t begin, std::uint64_t end) const;

 private:
  StartLineSearch search_;
  std::optional<DamageKind> kind_;  // null until the first bytes were looked at
  bool mayHideMessages_ = false;
};

Damage damageOf(DamageKind kind, std::uint64_t begin, std::uint64_t end, bool mayHideMessages);

// Empty lines that no message follows.
Damage emptyLinesAtEnd(std::uint64_t begin, std::uint64_t end);

}  // namespace qv::capture
