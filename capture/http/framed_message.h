#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "capture/http/body_segments.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

// What cutting a captured byte stream into messages yields. Offsets count bytes from the start of
// the stream of one direction; everything is owned by the item that holds it.
namespace qv::capture {

enum class Direction : std::uint8_t {
  toAccessory,   // requests
  toController,  // responses and EVENT/1.0 notifications
};

// What the start line promises. The framer does not judge it: a response that is cut inside its
// first word is unknown.
enum class MessageKind : std::uint8_t { unknown, request, response, informational, event };

// How the end of the body was found.
enum class BodyFraming : std::uint8_t {
  none,
  contentLength,
  chunked,
  untilClose,
  strayAfter204,  // bytes that follow a 204 and begin no message
};

// Why a message may not be judged as a whole. Only `complete` messages may.
enum class Completeness : std::uint8_t {
  complete,
  headerCut,         // the capture ended inside the header
  bodyCut,           // the capture ended inside the body; what was there is delivered
  chunkUnreadable,   // delivered up to the place where the chunked coding broke
  lengthUnreadable,  // the header announces a body whose length cannot be told; no body
  tooLarge,          // larger than the limit; no body, and the header only up to the limit
  bytesMissing,      // the capture lacks bytes in its midst; delivered up to them
  bodyDamaged,       // whoever wrote the capture changed the body
  givenUp,           // to keep memory within bounds; what was there is delivered
  // All that went over the wire is in the capture, and the connection ended inside the message: its
  // sender is to blame, or a reset, or nobody, because the answer came before the end of a request.
  closedInHeader,
  closedInBody,
  resetInHeader,
  resetInBody,
  abandoned,
};

// A short text for a report, "the capture ends inside the body"; empty for `complete`.
QV_EXPORT const char* completenessText(Completeness completeness);

// How the end of a stream cut the message that it is in, if it did.
enum class CutKind : std::uint8_t { none, byCapture, byClose, byReset, abandoned };
QV_EXPORT CutKind cutKindOf(Completeness completeness);

enum class FramingNoteKind : std::uint8_t {
  emptyLinesBeforeStartLine,
  bareLineFeed,
  bareCarriageReturn,
  spaceBeforeColon,
  foldedFramingField,
  contentLengthRepeated,
  contentLengthDiffers,
  contentLengthSigned,
  contentLengthUnreadable,
  contentLengthHuge,
  contentLengthBesideTransferEncoding,
  unknownTransferCoding,
  announcedBodyMissing,
  chunkSizeUnreadable,
  chunkSizeOverflow,
  chunkLineTooLong,
  chunkDataUnterminated,
  trailersPresent,
  trailersUnterminated,
  bodyEndedByClose,
  startLineInBody,
  strayBodyAfter204,
  largerThanLimit,
};

// A fact about how a message was framed that is worth telling. A message carries at most one note
// of each kind, for the first place where it applies.
struct FramingNote {
  FramingNoteKind kind;
  std::string text;
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
};

struct FramedMessage {
  Direction direction = Direction::toAccessory;
  MessageKind kind = MessageKind::unknown;
  // The item's extent in the stream: from the empty lines before the start line, if there are any,
  // to the end of the body, chunk lines and trailers included.
  std::uint64_t beginOffset = 0;
  std::uint64_t endOffset = 0;
  // Start line and field lines as captured, with the last one's line end, without the blank line.
  std::uint64_t headerOffset = 0;
  Bytes header;
  // The first byte of the body, or where it would stand. Null when the body has no bytes, however
  // it was announced; chunked bodies are decoded, other transfer codings left as they are.
  std::uint64_t bodyOffset = 0;
  std::optional<Bytes> body;
  BodySegments segments;
  BodyFraming framing = BodyFraming::none;
  Completeness completeness = Completeness::complete;
  // False when the next message was found by searching, so that others may have been missed.
  bool endKnown = true;
  // True when the message comes from a record of its own (an entry, a line): then every offset is
  // that of the record in the input, and places inside of the message are told by their part alone.
  bool isRecord = false;
  std::vector<FramingNote> notes;

  bool complete() const { return completeness == Completeness::complete; }
  // Where a byte of the body stood in the stream; the end of the body maps to the place after its
  // last byte, and so does anything beyond.
  QV_EXPORT std::uint64_t streamOffsetOf(std::uint64_t offsetInBody) const;
};

enum class DamageKind : std::uint8_t {
  noMessage,
  looksLikeTLS,
  emptyLines,
  behindGap,  // the rest of a message whose beginning is not in the capture
  givenUp,    // the rest of one whose beginning was given up
};

// Whether it is what is left of a message.
inline bool isRest(DamageKind kind) {
  return kind == DamageKind::behindGap || kind == DamageKind::givenUp;
}

// Bytes that were skipped because no message begins there.
struct Damage {
  DamageKind kind = DamageKind::noMessage;
  std::string text;  // "17 bytes that begin no message"
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  // A few stray bytes without a line end hide no message; others may.
  bool mayHideMessages = false;
};

// Bytes that went over the wire and are not in the capture. A gap inside of a message comes before
// that message.
struct Gap {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  // Not where the message that it is in goes on behind it.
  bool mayHideMessages = true;
};

using StreamItem = std::variant<FramedMessage, Damage, Gap>;

// The offset behind its last byte.
QV_EXPORT std::uint64_t endOf(const StreamItem& item);

// True when the items stand one after the other, leave out no byte of the stream and point nowhere
// outside of themselves. Holds for everything that an HTTPFramer yields for a finished stream.
QV_EXPORT bool accountsForEveryByte(std::span<const StreamItem> items, std::uint64_t streamLength);

}  // namespace qv::capture
