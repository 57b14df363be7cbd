#include "capture/records/record_message.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "capture/http/framing_fields.h"
#include "capture/http/framing_notes.h"
#include "capture/http/header_scan.h"
#include "capture/http/recorded_message.h"
#include "capture/http/unpaired_reasons.h"

namespace qv::capture {
namespace {

// Drops the empty line behind the header. Null, with a text, when the header is not that of one
// whole message.
bool normaliseHeader(Direction direction, Bytes& header, ErrorSlot error) {
  if (header.empty()) return fail(error, "the header is empty");
  FramedMessage unused;
  const std::optional<HeaderEnd> end = HeaderScan().advance(header, true, unused);
  if (end && end->headerLength == 0) return fail(error, "the header begins with an empty line");
  if (end && end->totalLength != header.size()) {
    return fail(error, "the header goes on behind an empty line");
  }
  if (end) header.resize(end->headerLength);
  if (header.back() != '\r' && header.back() != '\n') {
    return fail(error, "the header ends without a line end");
  }
  const bool isRequest = messageKindOf(Direction::toController, header) == MessageKind::unknown;
  if (isRequest == (direction == Direction::toAccessory)) return true;
  return fail(error, isRequest ? "the header towards the controller is that of no response or event"
                               : "the header towards the accessory is that of a response or event");
}

}  // namespace

FramedMessage messageOfRecord(RecordFields& fields, FramingLimits limits) {
  const std::optional<Direction> direction = fields.direction();
  const auto told = fields.word("completeness", kCompletenessWords);
  Bytes header = fields.required("header_base64", fields.base64("header_base64"));
  std::optional<Bytes> body = fields.base64("body_base64");
  const bool endKnown = fields.flag("end_known").value_or(true);
  if (fields.error()) return {};

  std::optional<std::string> error;
  const bool isCut = told && *told != Completeness::complete;
  if (!isCut && !normaliseHeader(*direction, header, &error)) fields.complain(*error);
  FramedMessage message = recordedMessage(*direction, std::move(header), std::move(body), limits);
  if (told && message.completeness != Completeness::tooLarge) message.completeness = *told;
  message.endKnown = endKnown;
  if (const std::optional<Value> notes = fields.list("notes")) {
    message.notes.clear();
    for (std::size_t i = 0; i < notes->count(); ++i) {
      RecordFields note(notes->at(i));
      const auto kind = note.word("kind", kFramingNoteWords);
      const auto text = note.text("text");
      if (kind && text) addNote(message.notes, *kind, *text, 0, 0);
    }
  }
  return message;
}

ToldPairing pairingOfRecord(RecordFields& fields) {
  ToldPairing told;
  told.requestIndex = fields.count("request");
  told.answers = fields.count("answers");
  told.uncertain = fields.flag("uncertain").value_or(false);
  told.oldestOpenRequest = fields.count("oldest_open");
  if (const auto reason = fields.text("unpaired")) {
    const auto* known = std::ranges::find(kUnpairedReasons, *reason);
    told.unpairedReason = known == std::end(kUnpairedReasons) ? kToldUncertain : *known;
  }
  return told;
}

}  // namespace qv::capture
