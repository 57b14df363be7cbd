#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "capture/http/framed_message.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

struct FramingLimits {
  // The stretch of the stream, from the start line to the last body byte, that one message may
  // take. A larger one is delivered without its body, and what is over is not held in memory.
  std::uint64_t messageBytes = std::uint64_t{64} << 20;
};

// How a stream ended.
enum class StreamEnd : std::uint8_t {
  unknown,       // it did, or only the input did
  captureStops,  // only the capture did: a body that the close of the connection ends is cut
  closed,        // its sender closed it, and nothing that was sent is missing at its end
  reset,         // the same of a connection that was reset
};

// Cuts the bytes of one direction of one connection into HTTP/1.1 messages (RFC 9112, section 6).
//
//   framer.feed(bytes);                       // in pieces of any size; the items are the same
//   while (auto item = framer.next()) { ... } // in stream order
//   framer.finish();                          // the capture ends here
//   while (auto item = framer.next()) { ... }
//
// Bytes are only taken in by `feed`; the work is done in `next`. Drain it after each piece, and
// memory holds no more than the piece and the message under construction. Time is linear in bytes.
//
// Nothing is tidied and nothing judged: start lines pass as they are, and whatever cannot be framed
// by the rules is a note on the message or a Damage item. A stream that ends inside a message
// leaves it incomplete. Where the next message is lost, it is found by searching for a start line.
//
// Where nobody tells that a response answers HEAD (which the protocol does not use), it is expected
// to carry the body that it announces. A 204 is delivered when the bytes after it, or
// the end, show whether a body strays there.
class QV_EXPORT HTTPFramer {
 public:
  explicit HTTPFramer(Direction direction, FramingLimits limits = {});
  // For a stream of which nothing before the offset is known: what it begins with may be the rest
  // of a message.
  static HTTPFramer inMidstream(Direction direction, std::uint64_t offset,
                                FramingLimits limits = {}, DamageKind rest = DamageKind::behindGap);
  HTTPFramer(HTTPFramer&&) noexcept;
  HTTPFramer& operator=(HTTPFramer&&) noexcept;
  ~HTTPFramer();

  Direction direction() const;

  // Copies the bytes. Does nothing after `finish`.
  void feed(ByteView bytes);
  // So many bytes of the stream are missing here. To be called when `next` answered null. A message
  // in whose counted body they lie goes on behind them, otherwise the next start line is searched.
  void skip(std::uint64_t length);
  // The other side sent something when it had received the stream up to here and no farther. So a
  // 204 that ends here is whole: bytes behind it that begin no message were sent later and are
  // damage. To be called in the order in which the other side sent; a place before an earlier one
  // says nothing.
  void settleAt(std::uint64_t offset);
  // From now on each piece that is fed is a packet, and `settleAt` will be called. Stray bytes
  // behind a 204 that ends with its packet wait until it is known whether they belong to it, so
  // that it does not matter in which order the two directions were captured; as long as they are
  // not too many.
  void expectSettling();
  // Is asked, when the header of a final response was read, whether the response whose start line
  // stands there answers a HEAD request, so that it has no body (RFC 9110, section 9.3.2). As long
  // as the answer is null the message waits, unless too much comes behind it.
  using AnswersHead = std::function<std::optional<bool>(std::uint64_t offset)>;
  void askForHead(AnswersHead answersHead);
  void finish(StreamEnd end = StreamEnd::unknown);

  // Null when more bytes are needed or, after `finish`, when everything was delivered.
  std::optional<StreamItem> next();

  // Heap bytes held: what was fed and not yet framed, and the message under construction.
  std::size_t bufferedBytes() const;
  // Frees what is held for its capacity alone.
  void trim();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace qv::capture
