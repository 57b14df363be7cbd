#include "capture/http/framing_notes.h"

#include <algorithm>
#include <string>

#include <fmt/format.h>

namespace qv::capture {

void addNote(std::vector<FramingNote>& notes, FramingNoteKind kind, std::string_view text,
             std::uint64_t offset, std::uint64_t length) {
  const bool known = std::any_of(notes.begin(), notes.end(),
                                 [&](const FramingNote& note) { return note.kind == kind; });
  if (!known) notes.push_back({kind, std::string(text), offset, length});
}

void noteBareLineEnd(FramedMessage& message, std::uint8_t byte, std::uint64_t offset) {
  if (byte == '\n') {
    addNote(message.notes, FramingNoteKind::bareLineFeed, "line ended by a bare LF", offset, 1);
  } else {
    addNote(message.notes, FramingNoteKind::bareCarriageReturn, "line ended by a bare CR", offset,
            1);
  }
}

void noteLargerThanLimit(FramedMessage& message, std::uint64_t limit) {
  addNote(message.notes, FramingNoteKind::largerThanLimit,
          fmt::format("larger than the limit of {} bytes", limit), message.headerOffset,
          message.endOffset - message.headerOffset);
}

}  // namespace qv::capture
