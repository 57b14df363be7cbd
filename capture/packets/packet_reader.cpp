#include "capture/packets/packet_reader.h"

#include <fmt/format.h>

namespace qv::capture {

InputNote endsInside(std::uint64_t begin, std::uint64_t end, std::uint64_t packets,
                     const ByteSource& source) {
  std::string text =
      fmt::format("the file ends at byte {}, inside packet {} at byte {}", end, packets + 1, begin);
  if (const auto error = source.error()) text += ": " + *error;
  return {.kind = InputNoteKind::truncated,
          .text = std::move(text),
          .offset = begin,
          .length = end - begin,
          .connection = {},
          .direction = {},
          .place = {.number = packets + 1, .timeNs = {}}};
}

InputNote unreadableFrom(std::uint64_t begin, std::uint64_t packets, std::string_view reason) {
  return {.kind = InputNoteKind::unreadablePart,
          .text = fmt::format("nothing can be read from packet {} at byte {} on: {}", packets + 1,
                              begin, reason),
          .offset = begin,
          .length = 0,
          .connection = {},
          .direction = {},
          .place = {.number = packets + 1, .timeNs = {}}};
}

}  // namespace qv::capture
