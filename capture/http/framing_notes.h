#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "capture/http/framed_message.h"

namespace qv::capture {

// Keeps the note unless there is one of that kind already, so that hostile input does not grow the
// list.
void addNote(std::vector<FramingNote>& notes, FramingNoteKind kind, std::string_view text,
             std::uint64_t offset, std::uint64_t length);

// Notes a line end of one byte, LF or CR.
void noteBareLineEnd(FramedMessage& message, std::uint8_t byte, std::uint64_t offset);

void noteLargerThanLimit(FramedMessage& message, std::uint64_t limit);

}  // namespace qv::capture
