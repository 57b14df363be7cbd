#include "capture/http/chunked_reader.h"

#include <algorithm>
#include <limits>

#include "capture/http/framing_notes.h"
#include "capture/http/start_line.h"

namespace qv::capture {
namespace {

// Of a chunk-size line with its extensions, and of one trailer field.
constexpr std::size_t kLongestLine = std::size_t{16} << 10;

std::optional<unsigned> hexDigit(std::uint8_t byte) {
  if (byte >= '0' && byte <= '9') return byte - '0';
  if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
  if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
  return std::nullopt;
}

bool beginsMessage(Direction direction, ByteView line) {
  const StartLineSearch::Result result = StartLineSearch(direction).advance(line, true);
  return result.found && result.length == 0;
}

}  // namespace

void BodyBuilder::keep(ByteView bytes, std::uint64_t streamOffset) {
  if (!message_.complete() || bytes.empty()) return;
  const std::uint64_t end = streamOffset + bytes.size();
  if (end - message_.headerOffset > limit_) {
    message_.completeness = Completeness::tooLarge;
    message_.body.reset();
    message_.segments = {};
    return;
  }
  if (!message_.body) message_.body.emplace();
  Bytes& body = *message_.body;
  const bool follows =
      !message_.segments.empty() && message_.segments.streamOffsetOf(body.size()) == streamOffset;
  if (!follows) message_.segments.add({body.size(), streamOffset});
  body.insert(body.end(), bytes.begin(), bytes.end());
}

bool ChunkedReader::skip(std::uint64_t count) {
  if (state_ != State::data || count > remaining_) return false;
  remaining_ -= count;
  if (remaining_ == 0) state_ = State::dataEnd;
  return true;
}

ChunkedReader::Progress ChunkedReader::advance(StreamWindow& window, bool atEnd,
                                               FramedMessage& message, BodyBuilder& body) {
  if (window.empty()) return Progress::needsInput;
  switch (state_) {
    case State::size:
      return readSize(window, atEnd, message);
    case State::data:
      return readData(window, body);
    case State::dataEnd:
      return readDataEnd(window, atEnd, message);
    case State::trailer:
      return readTrailer(window, atEnd, message);
  }
  return Progress::unreadable;
}

// The line at the start of the window; null when its end is not there yet.
std::optional<ChunkedReader::Line> ChunkedReader::nextLine(ByteView bytes, bool atEnd) {
  while (scan_ < bytes.size() && bytes[scan_] != '\r' && bytes[scan_] != '\n') ++scan_;
  const std::size_t length = scan_;
  if (length > kLongestLine) return Line{length, 0};
  if (length == bytes.size()) return std::nullopt;
  const bool returned = bytes[length] == '\r';
  if (returned && length + 1 == bytes.size() && !atEnd) return std::nullopt;
  scan_ = 0;
  const bool pair = returned && length + 1 < bytes.size() && bytes[length + 1] == '\n';
  return Line{length, pair ? 2U : 1U};
}

ChunkedReader::Progress ChunkedReader::readSize(StreamWindow& window, bool atEnd,
                                                FramedMessage& message) {
  const std::optional<Line> line = nextLine(window.view(), atEnd);
  if (!line) return Progress::needsInput;
  const ByteView text = window.view().first(line->length);
  if (line->endLength == 0) {
    addNote(message.notes, FramingNoteKind::chunkLineTooLong, "chunk-size line is too long",
            window.offset(), 0);
    return Progress::unreadable;
  }
  std::size_t digits = 0;
  std::uint64_t size = 0;
  for (; digits < text.size(); ++digits) {
    const std::optional<unsigned> digit = hexDigit(text[digits]);
    if (!digit) break;
    if (size > std::numeric_limits<std::uint64_t>::max() >> 4) {
      addNote(message.notes, FramingNoteKind::chunkSizeOverflow, "chunk size exceeds 64 bits",
              window.offset(), 0);
      return Progress::unreadable;
    }
    size = size << 4 | *digit;
  }
  const bool bounded =
      digits == text.size() || text[digits] == ';' || text[digits] == ' ' || text[digits] == '\t';
  if (digits == 0 || !bounded) {
    addNote(message.notes, FramingNoteKind::chunkSizeUnreadable,
            "chunk size is no hexadecimal number", window.offset(), 0);
    return Progress::unreadable;
  }
  if (line->endLength == 1) {
    noteBareLineEnd(message, window.view()[line->length], window.offset() + line->length);
  }
  window.consume(line->length + line->endLength);
  remaining_ = size;
  state_ = size == 0 ? State::trailer : State::data;
  return Progress::again;
}

ChunkedReader::Progress ChunkedReader::readData(StreamWindow& window, BodyBuilder& body) {
  const std::size_t taken =
      static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, window.view().size()));
  body.keep(window.view().first(taken), window.offset());
  window.consume(taken);
  remaining_ -= taken;
  if (remaining_ == 0) state_ = State::dataEnd;
  return Progress::again;
}

ChunkedReader::Progress ChunkedReader::readDataEnd(StreamWindow& window, bool atEnd,
                                                   FramedMessage& message) {
  const std::uint8_t first = window.view()[0];
  if (first != '\r' && first != '\n') {
    addNote(message.notes, FramingNoteKind::chunkDataUnterminated,
            "chunk data is not followed by a line end", window.offset(), 0);
    return Progress::unreadable;
  }
  const std::optional<Line> line = nextLine(window.view(), atEnd);
  if (!line) return Progress::needsInput;
  if (line->endLength == 1) noteBareLineEnd(message, first, window.offset());
  window.consume(line->endLength);
  state_ = State::size;
  return Progress::again;
}

ChunkedReader::Progress ChunkedReader::readTrailer(StreamWindow& window, bool atEnd,
                                                   FramedMessage& message) {
  const std::optional<Line> line = nextLine(window.view(), atEnd);
  if (!line) return Progress::needsInput;
  if (line->endLength == 0) {
    addNote(message.notes, FramingNoteKind::chunkLineTooLong, "trailer field is too long",
            window.offset(), 0);
    return Progress::unreadable;
  }
  const ByteView text = window.view().first(line->length);
  if (beginsMessage(message.direction, text)) {
    addNote(message.notes, FramingNoteKind::trailersUnterminated,
            "no empty line between the last chunk and the next message", window.offset(), 0);
    return Progress::done;
  }
  if (!text.empty()) {
    addNote(message.notes, FramingNoteKind::trailersPresent,
            "trailer fields follow the last chunk; they are not looked at", window.offset(),
            text.size());
  }
  if (line->endLength == 1) {
    noteBareLineEnd(message, window.view()[line->length], window.offset() + line->length);
  }
  window.consume(line->length + line->endLength);
  return text.empty() ? Progress::done : Progress::again;
}

}  // namespace qv::capture
