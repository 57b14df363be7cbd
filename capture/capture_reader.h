#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "capture/http/exchange_pairing.h"
#include "qvparsersupport/common/export.h"

// What every form of capture comes to: connections, and on each of them messages in report order.
namespace qv::capture {

struct ConnectionOpened {
  std::uint64_t connection = 0;  // from 1, unique within the input
  std::string client;            // the controller, "192.0.2.7:51826"; empty when unknown
  std::string server;            // the accessory
  bool partialStart = false;     // the capture began when the connection was there already
};

// No further record of the connection follows.
struct ConnectionClosed {
  std::uint64_t connection = 0;
};

// How much of what went over the wire a form of capture still holds.
enum class Fidelity : std::uint8_t {
  exact,          // every byte of every message
  reconstructed,  // header blocks were put together again from names and values
  damaged,        // parts are missing or were changed
};

enum class InputNoteKind : std::uint8_t {
  truncated,           // the input ends in the midst of something; what was whole was used
  unreadablePart,      // one part (a packet, an entry, a line) cannot be read and was left out
  unsupportedPackets,  // packets of a kind that is not read here, of which some may matter
  conflictingOverlap,  // two copies of the same bytes of a stream differ; the first one counts
  reassemblyLimit,     // bytes were given up to keep memory within bounds
  unfinishedGivenUp,   // so was what is unfinished on a connection; no open request is answered
  cameTooLate,         // bytes that were told as a gap came after all, too far behind it
  connectionsSkipped,  // connections on which no HTTP was seen
  connectionsMissing,  // of which more bytes are missing than there are, so that nobody can tell
  eventsNotHeld,       // the form holds no event notifications
  leftOut,             // what lies beside the traffic and was none of it
  piecesDisordered,    // a piece begins before the one in front of it ends
  nothingHeld,         // no traffic at all; the text says what there was
};

// A fact about the input, not about a message.
struct InputNote {
  InputNoteKind kind;
  std::string text;          // "entry 17: response.status is no number"
  std::uint64_t offset = 0;  // in the input, or in the stream when there is a connection
  std::uint64_t length = 0;
  std::optional<std::uint64_t> connection;
  std::optional<Direction> direction;
  CapturePlace place;
};

using CaptureEvent = std::variant<ConnectionOpened, ExchangeRecord, InputNote, ConnectionClosed>;

// One input, read as far as the next event asks for, in memory that does not grow with its length.
// Never throws for what the input holds: whatever cannot be read is a note, and reading goes on
// where that is possible.
class QV_EXPORT CaptureReader {
 public:
  virtual ~CaptureReader() = default;

  // Null at the end of the input. A reader that is not at its end answers what can be said with
  // what was read so far, so a pipe yields its messages as they arrive.
  virtual std::optional<CaptureEvent> next() = 0;

  // "http", "pcap", "pcapng", "har" or "ndjson"; empty for an input without bytes.
  virtual std::string_view format() const = 0;
  // In words, what was read so far: "5 packets, none of them TCP over IP". For an input in which
  // there was no traffic.
  virtual std::string contents() const = 0;
  // Of what was read so far; final at the end.
  virtual Fidelity fidelity() const = 0;
  // Why reading stopped before the end (a device error, an input that is not of the form at all);
  // null as long as nothing went wrong. What was read before counts.
  virtual std::optional<std::string> error() const { return std::nullopt; }
};

}  // namespace qv::capture
