#include "tests/capture/stream_dump.h"

#include <array>
#include <iterator>

namespace qv::capture::test {
namespace {

const char* const kKinds[] = {"unknown", "request", "response", "informational", "event"};
const char* const kFramings[] = {"none", "contentLength", "chunked", "untilClose", "strayAfter204"};

std::string range(std::uint64_t begin, std::uint64_t end) {
  return "[" + std::to_string(begin) + "," + std::to_string(end) + ")";
}

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (char letter : text) {
    if (letter == '\r')
      result += "\\r";
    else if (letter == '\n')
      result += "\\n";
    else
      result += letter;
  }
  return result + "\"";
}

std::string dumpMessage(const FramedMessage& message) {
  std::string line = kKinds[static_cast<std::size_t>(message.kind)];
  line += " " + range(message.beginOffset, message.endOffset) + " header " +
          range(message.headerOffset, message.headerOffset + message.header.size()) + " " +
          kFramings[static_cast<std::size_t>(message.framing)];
  if (message.body) line += " " + quoted(textOf(*message.body));
  for (const BodySegment& segment : message.segments) {
    line += " " + std::to_string(segment.bodyOffset) + "@" + std::to_string(segment.streamOffset);
  }
  if (!message.complete()) line += " -- " + std::string(completenessText(message.completeness));
  if (!message.endKnown) line += " (end guessed)";
  line += "\n";
  for (const FramingNote& note : message.notes) {
    line += "  " + range(note.offset, note.offset + note.length) + " " + note.text + "\n";
  }
  return line;
}

}  // namespace

std::string dump(const StreamItem& item) {
  if (const auto* message = std::get_if<FramedMessage>(&item)) return dumpMessage(*message);
  const auto& damage = std::get<Damage>(item);
  return "damage " + range(damage.offset, damage.offset + damage.length) + " " + damage.text +
         (damage.mayHideMessages ? " (may hide messages)\n" : "\n");
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
  for (std::size_t cut : cuts) {
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
