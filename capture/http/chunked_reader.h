#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "capture/http/framed_message.h"
#include "capture/io/stream_window.h"

namespace qv::capture {

// Takes the bytes of a body under construction and drops them all once the message is too large.
class BodyBuilder {
 public:
  BodyBuilder(FramedMessage& message, std::uint64_t limit) : message_(message), limit_(limit) {}
  // `bytes` stood at `streamOffset`; bytes that follow the last ones join their segment. Does
  // nothing once bytes are missing.
  void keep(ByteView bytes, std::uint64_t streamOffset);

 private:
  FramedMessage& message_;
  std::uint64_t limit_;
};

// Decodes the chunked transfer coding (RFC 9112, section 7.1) of one body. Chunk extensions and
// trailer fields are skipped. CR, LF and CRLF each end a line, as in headers.
class ChunkedReader {
 public:
  enum class Progress : std::uint8_t { again, needsInput, done, unreadable };
  // Consumes what it can. `unreadable` leaves the window at the place where the coding broke.
  Progress advance(StreamWindow& window, bool atEnd, FramedMessage& message, BodyBuilder& body);
  // Counts bytes that never come; false when they are more than the rest of the chunk.
  bool skip(std::uint64_t count);

 private:
  struct Line {
    std::size_t length;     // without its end
    std::size_t endLength;  // 0 when the line is longer than any line of the coding may be
  };
  std::optional<Line> nextLine(ByteView bytes, bool atEnd);
  Progress readSize(StreamWindow& window, bool atEnd, FramedMessage& message);
  Progress readData(StreamWindow& window, BodyBuilder& body);
  Progress readDataEnd(StreamWindow& window, bool atEnd, FramedMessage& message);
  Progress readTrailer(StreamWindow& window, bool atEnd, FramedMessage& message);

  enum class State : std::uint8_t { size, data, dataEnd, trailer };
  State state_ = State::size;
  std::uint64_t remaining_ = 0;
  std::size_t scan_ = 0;  // how far the search for the end of the line went
};

}  // namespace qv::capture
