#include "tests/capture/stream_dump.h"

#include <fmt/format.h>

namespace qv::capture::test {
namespace {

const char* const kKinds[] = {"unknown", "request", "response", "informational", "event"};
const char* const kFramings[] = {"none", "contentLength", "chunked", "untilClose", "strayAfter204"};

std::string quoted(ByteView bytes) {
  std::string result;
  for (const char letter : textOf(bytes)) {
    result += letter == '\r' ? "\\r" : letter == '\n' ? "\\n" : std::string(1, letter);
  }
  return '"' + result + '"';
}

std::string dumpMessage(const FramedMessage& message) {
  std::string line =
      fmt::format("{} [{},{}) header [{},{}) {}", kKinds[static_cast<std::size_t>(message.kind)],
                  message.beginOffset, message.endOffset, message.headerOffset,
                  message.headerOffset + message.header.size(),
                  kFramings[static_cast<std::size_t>(message.framing)]);
  if (message.body) line += " " + quoted(*message.body);
  for (const BodySegment& segment : message.segments.all()) {
    line += fmt::format(" {}@{}", segment.bodyOffset, segment.streamOffset);
  }
  if (!message.complete()) line += fmt::format(" -- {}", completenessText(message.completeness));
  line += message.endKnown ? "\n" : " (end guessed)\n";
  for (const FramingNote& note : message.notes) {
    line += fmt::format("  [{},{}) {}\n", note.offset, note.offset + note.length, note.text);
  }
  return line;
}

}  // namespace

std::string dump(const StreamItem& item) {
  if (const auto* message = std::get_if<FramedMessage>(&item)) return dumpMessage(*message);
  if (const auto* gap = std::get_if<Gap>(&item)) {
    return fmt::format("gap [{},{}){}\n", gap->offset, gap->offset + gap->length,
                       gap->mayHideMessages ? "" : " within a message");
  }
  const auto& damage = std::get<Damage>(item);
  return fmt::format("damage [{},{}) {}{}\n", damage.offset, damage.offset + damage.length,
                     damage.text, damage.mayHideMessages ? " (may hide messages)" : "");
}

std::string dump(const std::vector<StreamItem>& items) {
  std::string text;
  for (const StreamItem& item : items) text += dump(item);
  return text;
}

std::vector<StreamItem> framed(Direction direction, std::string_view stream,
                               const std::vector<std::size_t>& cuts, FramingLimits limits) {
  HTTPFramer framer(direction, limits);
  std::vector<StreamItem> items;
  const auto drain = [&] {
    while (auto item = framer.next()) items.push_back(std::move(*item));
  };
  std::size_t begin = 0;
  for (const std::size_t cut : cuts) {
    framer.feed(bytesOf(stream.substr(begin, cut - begin)));
    drain();
    begin = cut;
  }
  framer.feed(bytesOf(stream.substr(begin)));
  drain();
  framer.finish();
  drain();
  return items;
}

}  // namespace qv::capture::test
