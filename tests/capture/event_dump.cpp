#include "tests/capture/event_dump.h"

#include <fmt/format.h>

#include "tests/capture/stream_dump.h"

namespace qv::capture::test {
namespace {

const char* const kKinds[] = {"unknown", "request", "response", "informational", "event"};
const char* const kFramings[] = {"none", "contentLength", "chunked", "untilClose", "strayAfter204"};
const char* const kFidelities[] = {"exact", "reconstructed", "damaged"};
const char* const kNotes[] = {"truncated",
                              "unreadablePart",
                              "unsupportedPackets",
                              "conflictingOverlap",
                              "reassemblyLimit",
                              "unfinishedGivenUp",
                              "cameTooLate",
                              "connectionsSkipped",
                              "connectionsMissing",
                              "eventsNotHeld",
                              "leftOut",
                              "piecesDisordered",
                              "nothingHeld"};

template <std::size_t count, class Enum>
const char* nameOf(const char* const (&names)[count], Enum value) {
  return static_cast<std::size_t>(value) < count ? names[static_cast<std::size_t>(value)] : "?";
}

// CRLF shows as a bar.
std::string quoted(ByteView bytes) {
  std::string text(textOf(bytes));
  for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;) {
    text.replace(at, 2, "|");
  }
  return '"' + text + '"';
}

std::string dumpPlace(const CapturePlace& place) {
  std::string text;
  if (place.number != 0) text += fmt::format("place {} ", place.number);
  if (place.timeNs) text += fmt::format("@{} ", *place.timeNs);
  return text;
}

std::string dumpMessage(const FramedMessage& message) {
  std::string text = fmt::format("[{},{}) {} {} {}", message.beginOffset, message.endOffset,
                                 nameOf(kKinds, message.kind), nameOf(kFramings, message.framing),
                                 quoted(message.header));
  if (message.body) text += " body " + quoted(*message.body);
  if (!message.complete()) text += fmt::format(" -- {}", completenessText(message.completeness));
  return text + "\n";
}

struct EventDump {
  std::string operator()(const ConnectionOpened& opened) const {
    return fmt::format("connection {} {}{}{}\n", opened.connection, opened.client, opened.server,
                       opened.partialStart ? " partial" : "");
  }
  std::string operator()(const ConnectionClosed& closed) const {
    return fmt::format("closed {}\n", closed.connection);
  }
  std::string operator()(const InputNote& note) const {
    return fmt::format("{} [{},{}) {}{}\n", nameOf(kNotes, note.kind), note.offset,
                       note.offset + note.length, dumpPlace(note.place), note.text);
  }
  std::string operator()(const ExchangeRecord& record) const {
    std::string text = fmt::format("{}", record.connection);
    if (record.requestIndex) text += fmt::format(".{}", *record.requestIndex);
    if (record.answers) text += fmt::format(" answers {}", *record.answers);
    text += " " + dumpPlace(record.place);
    return text + (record.message() ? dumpMessage(*record.message()) : dump(record.item));
  }
};

}  // namespace

std::string dump(const CaptureEvent& event) {
  return std::visit(EventDump(), event);
}

std::string dump(CaptureReader& reader) {
  std::string text;
  while (const auto event = reader.next()) text += dump(*event);
  text += nameOf(kFidelities, reader.fidelity());
  if (const auto error = reader.error()) text += ", error: " + *error;
  return text + "\n";
}

}  // namespace qv::capture::test
