#include "capture/packets/http_connections.h"

#include <fmt/format.h>

#include <array>
#include <deque>
#include <utility>

#include "capture/counted.h"
#include "capture/packets/accessory_side.h"

namespace qv::capture {
namespace {

constexpr const char* kGivenUpText = "bytes were given up to keep memory within bounds";

std::string missingText(std::uint64_t bytes) {
  return fmt::format("{} {} missing", counted(bytes, "byte"), bytes == 1 ? "is" : "are");
}

StreamEnd endOf(bool ended, bool reset) {
  if (ended) return StreamEnd::closed;
  return reset ? StreamEnd::reset : StreamEnd::captureStops;
}

}  // namespace

// What was said, with its packet.
struct HTTPConnections::Piece {
  bool fromFirst = false;
  Bytes bytes;
  std::uint64_t missing = 0;  // of a gap
  CapturePlace place;
  std::optional<std::int64_t> acknowledged;
  std::optional<InputNoteKind> note;  // instead of bytes
  std::string text;                   // of the note
  std::uint64_t offset = 0;           // of what the note is about
  std::uint64_t length = 0;

  // What it takes to hold it.
  std::size_t weight() const { return sizeof(Piece) + bytes.size() + text.size(); }
};

// A connection until it is known which side is the accessory: what was said so far.
struct HTTPConnections::Undecided {
  AccessorySide side;
  std::deque<Piece> pieces;
  std::size_t weight = 0;                   // of the pieces
  std::array<std::uint64_t, 2> position{};  // behind what was said: by the first side, the other
  std::array<std::uint64_t, 2> dropped{};   // bytes before the pieces
  std::uint64_t seen = 0;
  std::uint64_t missing = 0;
  bool lostBeginning = false;  // of what was dropped, something may belong to a start line

  void add(Piece piece, std::size_t limit) {
    position[piece.fromFirst ? 0 : 1] += piece.bytes.size() + piece.missing;
    weight += piece.weight();
    pieces.push_back(std::move(piece));
    while (weight > limit && pieces.size() > 1) dropOldest();
  }
  void dropOldest() {
    const Piece& oldest = pieces.front();
    const std::size_t index = oldest.fromFirst ? 0 : 1;
    weight -= oldest.weight();
    dropped[index] += oldest.bytes.size() + oldest.missing;
    if (dropped[index] + side.pending(oldest.fromFirst) > position[index]) lostBeginning = true;
    pieces.pop_front();
  }
  void giveUp() {
    while (!pieces.empty()) dropOldest();
    pieces.shrink_to_fit();
    side = AccessorySide();
  }
  std::size_t heldBytes() const { return weight + side.heldBytes(); }
};

struct HTTPConnections::Connection {
  Endpoint first;
  Endpoint second;
  bool firstIsPartial = false;
  bool secondIsPartial = false;
  bool firstIsAccessory = false;
  // Both null when the connection is passed over.
  std::unique_ptr<Undecided> undecided;
  std::unique_ptr<HTTPConversation> conversation;
  std::uint64_t number = 0;  // among those that are told of
  std::size_t held = 0;
  std::optional<std::list<Connection*>::iterator> holder;

  Direction directionOf(bool fromFirst) const {
    return fromFirst == firstIsAccessory ? Direction::toController : Direction::toAccessory;
  }
};

HTTPConnections::HTTPConnections(std::optional<std::uint16_t> accessoryPort, FramingLimits framing,
                                 HoldingLimits holding)
    : port_(accessoryPort), framing_(framing), limits_(holding) {}
HTTPConnections::~HTTPConnections() = default;

std::optional<CaptureEvent> HTTPConnections::next() {
  if (ready_.empty()) return std::nullopt;
  CaptureEvent event = std::move(ready_.front());
  ready_.pop_front();
  return event;
}

void HTTPConnections::add(const TCPEvent& event) {
  if (event.kind == TCPEventKind::opened) return open(event);
  const auto found = connections_.find(event.connection);
  if (found == connections_.end()) return;
  Connection& connection = found->second;
  switch (event.kind) {
    case TCPEventKind::opened:
      break;
    case TCPEventKind::bytes:
    case TCPEventKind::gap:
      receive(connection, event);
      break;
    case TCPEventKind::conflict:
      note(connection, event, InputNoteKind::conflictingOverlap,
           fmt::format("two copies of {} differ; the first one counts",
                       counted(event.length, "byte")));
      break;
    case TCPEventKind::limited:
      note(connection, event, InputNoteKind::reassemblyLimit, kGivenUpText);
      break;
    case TCPEventKind::closed:
      return close(event);
  }
  keepBooks(connection);
  enforceLimit(connection);
}

void HTTPConnections::open(const TCPEvent& event) {
  Connection& connection = connections_[event.connection];
  connection.first = event.first;
  connection.second = event.second;
  connection.firstIsPartial = event.firstIsPartial;
  connection.secondIsPartial = event.secondIsPartial;
  if (!port_ || (event.first.port == *port_ && event.second.port == *port_)) {
    connection.undecided = std::make_unique<Undecided>();
  } else if (event.first.port == *port_ || event.second.port == *port_) {
    decide(connection, event.first.port == *port_);
  } else {
    ++otherPorts_;
  }
}

void HTTPConnections::receive(Connection& connection, const TCPEvent& event) {
  if (connection.undecided != nullptr) return hold(connection, event);
  if (connection.conversation == nullptr) return;
  Piece piece;
  piece.fromFirst = event.fromFirst;
  piece.missing = event.kind == TCPEventKind::gap ? event.length : 0;
  piece.place = event.place;
  piece.acknowledged = event.acknowledged;
  pass(connection, piece, event.bytes);
}

void HTTPConnections::pass(Connection& connection, const Piece& piece, ByteView bytes) {
  const Direction direction = connection.directionOf(piece.fromFirst);
  if (piece.note) {
    ready_.emplace_back(InputNote{*piece.note, piece.text, piece.offset, piece.length,
                                  connection.number, direction, piece.place});
  } else if (piece.missing > 0) {
    connection.conversation->skip(direction, piece.missing, piece.place);
  } else {
    connection.conversation->feed(direction, bytes, piece.place, piece.acknowledged);
  }
}

void HTTPConnections::hold(Connection& connection, const TCPEvent& event) {
  Undecided& undecided = *connection.undecided;
  Piece piece;
  piece.fromFirst = event.fromFirst;
  piece.bytes.assign(event.bytes.begin(), event.bytes.end());
  piece.missing = event.kind == TCPEventKind::gap ? event.length : 0;
  piece.place = event.place;
  piece.acknowledged = event.acknowledged;
  if (piece.missing > 0) undecided.side.skip(event.fromFirst);
  const AccessorySide::Answer answer = undecided.side.look(event.fromFirst, event.bytes);
  undecided.seen += piece.bytes.size();
  undecided.missing += piece.missing;
  undecided.add(std::move(piece), limits_.undecidedBytes);
  if (answer != AccessorySide::Answer::unknown) {
    decide(connection, answer == AccessorySide::Answer::first);
  } else if (undecided.seen > limits_.bytesWithoutHTTP) {
    passOver(connection);
  }
}

void HTTPConnections::passOver(Connection& connection) {
  const Undecided& undecided = *connection.undecided;
  const bool isReadable = undecided.missing <= undecided.seen;
  ++(isReadable ? passedOver_ : missing_);
  (isReadable ? passedOverMissing_ : missingBytes_) += undecided.missing;
  if (connection.undecided->lostBeginning) ++cutUndecided_;
  connection.undecided.reset();
}

void HTTPConnections::decide(Connection& connection, bool firstIsAccessory) {
  connection.firstIsAccessory = firstIsAccessory;
  connection.number = ++told_;
  const Endpoint& accessory = firstIsAccessory ? connection.first : connection.second;
  const Endpoint& controller = firstIsAccessory ? connection.second : connection.first;
  ready_.push_back(ConnectionOpened{connection.number, controller.text(), accessory.text(),
                                    connection.firstIsPartial || connection.secondIsPartial});

  const std::unique_ptr<Undecided> undecided = std::move(connection.undecided);
  std::array<HTTPConversation::Beginning, 2> beginnings{};
  for (const bool first : {true, false}) {
    HTTPConversation::Beginning& beginning =
        beginnings[static_cast<std::size_t>(connection.directionOf(first))];
    beginning.isPartial = first ? connection.firstIsPartial : connection.secondIsPartial;
    if (undecided == nullptr) continue;
    beginning.offset = undecided->dropped[first ? 0 : 1];
    beginning.isGivenUp = undecided->lostBeginning;
  }
  connection.conversation = std::make_unique<HTTPConversation>(
      connection.number, beginnings, framing_,
      [this](ExchangeRecord record) { ready_.emplace_back(std::move(record)); });
  if (undecided == nullptr) return;
  if (undecided->lostBeginning) {
    noteInput(InputNoteKind::reassemblyLimit, kGivenUpText, connection.number);
  }
  for (const Piece& piece : undecided->pieces) pass(connection, piece, piece.bytes);
}

void HTTPConnections::note(Connection& connection, const TCPEvent& event, InputNoteKind kind,
                           std::string text) {
  Piece piece;
  piece.fromFirst = event.fromFirst;
  piece.place = event.place;
  piece.note = kind;
  piece.text = std::move(text);
  piece.offset = event.offset;
  piece.length = event.length;
  if (connection.undecided != nullptr) {
    connection.undecided->add(std::move(piece), limits_.undecidedBytes);
  } else if (connection.conversation != nullptr) {
    pass(connection, piece, {});
  }
}

void HTTPConnections::close(const TCPEvent& event) {
  const auto found = connections_.find(event.connection);
  Connection& connection = found->second;
  if (connection.conversation != nullptr) {
    std::array<StreamEnd, 2> ends{};
    ends[static_cast<std::size_t>(connection.directionOf(true))] =
        endOf(event.firstEnded, event.firstReset);
    ends[static_cast<std::size_t>(connection.directionOf(false))] =
        endOf(event.secondEnded, event.secondReset);
    if (event.givenUp) connection.conversation->giveUp();
    connection.conversation->finish(ends);
    noteLate(connection, true, event.firstLate);
    noteLate(connection, false, event.secondLate);
    ready_.emplace_back(ConnectionClosed{connection.number});
    connection.conversation.reset();
  } else if (connection.undecided != nullptr &&
             connection.undecided->seen + connection.undecided->missing > 0) {
    passOver(connection);
  }
  connection.undecided.reset();
  keepBooks(connection);
  connections_.erase(found);
}

void HTTPConnections::noteLate(const Connection& connection, bool fromFirst, std::uint64_t bytes) {
  if (bytes == 0) return;
  ready_.emplace_back(InputNote{
      InputNoteKind::cameTooLate,
      fmt::format("{} came so late that they were told to be missing; files that belong together "
                  "are to be merged by time",
                  counted(bytes, "byte")),
      0,
      0,
      connection.number,
      connection.directionOf(fromFirst),
      {}});
}

void HTTPConnections::finish() {
  const auto leftOut = [this](std::uint64_t count, const std::string& which,
                              std::uint64_t missing = 0) {
    if (count == 0) return;
    const std::string gap = missing == 0 ? "" : ", of which " + missingText(missing);
    noteInput(InputNoteKind::connectionsSkipped,
              fmt::format("{} {} left out{}", counted(count, "connection"), which, gap));
  };
  leftOut(passedOver_, "without HTTP", passedOverMissing_);
  if (missing_ > 0) {
    noteInput(
        InputNoteKind::connectionsMissing,
        fmt::format("{} left out, of which {}: too little is there to tell whether HTTP was spoken",
                    counted(missing_, "connection"), missingText(missingBytes_)));
  }
  if (cutUndecided_ > 0) {
    noteInput(InputNoteKind::reassemblyLimit,
              fmt::format("of {}, bytes in which HTTP may have begun were given up to keep memory "
                          "within bounds",
                          counted(cutUndecided_, "connection")));
  }
  if (port_) leftOut(otherPorts_, fmt::format("on other ports than {}", *port_));
}

void HTTPConnections::noteInput(InputNoteKind kind, std::string text,
                                std::optional<std::uint64_t> connection) {
  ready_.emplace_back(InputNote{kind, std::move(text), 0, 0, connection, {}, {}});
}

void HTTPConnections::keepSum(Connection& connection) {
  const std::size_t held = connection.conversation != nullptr ? connection.conversation->heldBytes()
                           : connection.undecided != nullptr  ? connection.undecided->heldBytes()
                                                              : 0;
  held_ += held - connection.held;
  connection.held = held;
}

void HTTPConnections::keepBooks(Connection& connection) {
  keepSum(connection);
  if (connection.held == 0) {
    if (connection.holder) holders_.erase(*connection.holder);
    connection.holder.reset();
  } else if (connection.holder) {
    holders_.splice(holders_.end(), holders_, *connection.holder);
  } else {
    connection.holder = holders_.insert(holders_.end(), &connection);
  }
}

void HTTPConnections::enforceLimit(const Connection& heard) {
  while (held_ > limits_.bytes && !holders_.empty() && holders_.front() != &heard) {
    giveUp(*holders_.front());
  }
}

// Of the first one in the list. It comes back there when it is heard again, so the work is bounded
// by what is heard.
void HTTPConnections::giveUp(Connection& connection) {
  if (connection.undecided != nullptr) {
    connection.undecided->giveUp();
  } else {
    HTTPConversation& conversation = *connection.conversation;
    conversation.trim();
    if (conversation.heldBytes() > 0) {
      const Endpoint& client = connection.firstIsAccessory ? connection.second : connection.first;
      noteInput(
          InputNoteKind::unfinishedGivenUp,
          fmt::format("what was unfinished on the connection of {} was given up to keep memory "
                      "within bounds",
                      client.text()),
          connection.number);
      conversation.giveUp();
    }
  }
  holders_.pop_front();
  connection.holder.reset();
  keepSum(connection);
}

}  // namespace qv::capture
