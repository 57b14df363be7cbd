#include "capture/packet_capture_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "capture/accessory_side.h"
#include "capture/http_conversation.h"
#include "capture/packet_segments.h"
#include "capture/tcp_connections.h"

namespace qv::capture {
namespace {

// What is kept of each direction while it is not known which side is the accessory; older bytes
// held no start line.
constexpr std::size_t kMostUndecidedBytes = std::size_t{64} << 10;
// The same of all connections together; beyond, each keeps its last packet.
constexpr std::size_t kMostUndecidedInAll = std::size_t{16} << 20;
// Where nothing that looks like HTTP came in so many bytes, a connection is about something else.
constexpr std::uint64_t kMostBytesWithoutHTTP = std::uint64_t{16} << 20;

// A connection until it is known which side is the accessory: what was said so far.
struct Undecided {
  struct Piece {
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
  AccessorySide side;
  std::deque<Piece> pieces;
  std::array<std::uint64_t, 2> dropped{};  // bytes before the pieces: of the first side, the other
  std::size_t held = 0;
  std::uint64_t seen = 0;
};

struct Connection {
  Endpoint first;
  Endpoint second;
  bool firstIsPartial = false;
  bool secondIsPartial = false;
  bool isPassedOver = false;
  bool firstIsAccessory = false;
  std::unique_ptr<Undecided> undecided;
  std::unique_ptr<HTTPConversation> conversation;  // null until it is decided
  std::uint64_t number = 0;                        // among those that are told of
};

class PacketCaptureReader : public CaptureReader {
 public:
  PacketCaptureReader(std::shared_ptr<ByteSource> source, std::unique_ptr<PacketSegments> segments,
                      std::optional<std::uint16_t> port, FramingLimits limits)
      : source_(std::move(source)), segments_(std::move(segments)), port_(port), limits_(limits) {}

  std::optional<CaptureEvent> next() override;
  std::string_view format() const override { return segments_->format(); }
  Fidelity fidelity() const override { return Fidelity::exact; }
  std::optional<std::string> error() const override {
    return source_ == nullptr ? std::nullopt : source_->error();
  }

 private:
  bool advance();
  void handle(const TCPEvent& event);
  void open(const TCPEvent& event);
  void receive(Connection& connection, const TCPEvent& event);
  void hold(Connection& connection, const TCPEvent& event);
  void decide(Connection& connection, bool firstIsAccessory);
  void keep(Undecided& undecided, Undecided::Piece piece);
  void pass(Connection& connection, const Undecided::Piece& piece, ByteView bytes);
  void note(Connection& connection, const TCPEvent& event, InputNoteKind kind, std::string text);
  void close(const TCPEvent& event);
  void noteLate(const Connection& connection, bool fromFirst, std::uint64_t bytes);
  void noteLeftOut(std::uint64_t count, std::string_view which);
  void finish();

  Direction directionOf(const Connection& connection, bool fromFirst) const {
    return fromFirst == connection.firstIsAccessory ? Direction::toController
                                                    : Direction::toAccessory;
  }

  std::shared_ptr<ByteSource> source_;  // null for pieces, whose errors are notes
  std::unique_ptr<PacketSegments> segments_;
  std::optional<std::uint16_t> port_;
  FramingLimits limits_;
  TCPConnections tcp_;
  std::map<std::uint64_t, Connection> connections_;
  std::deque<CaptureEvent> ready_;
  std::size_t undecidedBytes_ = 0;
  std::uint64_t told_ = 0;
  std::uint64_t passedOver_ = 0;
  std::uint64_t otherPorts_ = 0;
  bool ended_ = false;
};

std::optional<CaptureEvent> PacketCaptureReader::next() {
  while (ready_.empty() && advance()) {
  }
  if (ready_.empty()) return std::nullopt;
  CaptureEvent event = std::move(ready_.front());
  ready_.pop_front();
  return event;
}

// False when everything was told.
bool PacketCaptureReader::advance() {
  if (const std::optional<TCPEvent> event = tcp_.next()) {
    handle(*event);
    return true;
  }
  if (ended_) return false;
  if (const std::optional<TCPSegment> segment = segments_->next()) {
    tcp_.add(*segment);
  } else {
    tcp_.finish();
    while (const std::optional<TCPEvent> event = tcp_.next()) handle(*event);
    finish();
    ended_ = true;
  }
  while (std::optional<InputNote> note = segments_->nextNote()) ready_.push_back(*std::move(note));
  return true;
}

void PacketCaptureReader::handle(const TCPEvent& event) {
  if (event.kind == TCPEventKind::opened) {
    open(event);
    return;
  }
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
           fmt::format("two copies of {} byte{} differ; the first one counts", event.length,
                       event.length == 1 ? "" : "s"));
      break;
    case TCPEventKind::limited:
      note(connection, event, InputNoteKind::reassemblyLimit,
           "bytes were given up to keep memory within bounds");
      break;
    case TCPEventKind::closed:
      close(event);
      break;
  }
}

void PacketCaptureReader::open(const TCPEvent& event) {
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
    connection.isPassedOver = true;
    ++otherPorts_;
  }
}

void PacketCaptureReader::receive(Connection& connection, const TCPEvent& event) {
  if (connection.isPassedOver) return;
  if (connection.undecided != nullptr) {
    hold(connection, event);
    return;
  }
  Undecided::Piece piece;
  piece.fromFirst = event.fromFirst;
  piece.missing = event.kind == TCPEventKind::gap ? event.length : 0;
  piece.place = event.place;
  piece.acknowledged = event.acknowledged;
  pass(connection, piece, event.bytes);
}

void PacketCaptureReader::pass(Connection& connection, const Undecided::Piece& piece,
                               ByteView bytes) {
  const Direction direction = directionOf(connection, piece.fromFirst);
  if (piece.note) {
    ready_.emplace_back(InputNote{*piece.note, piece.text, piece.offset, piece.length,
                                  connection.number, direction, piece.place});
  } else if (piece.missing > 0) {
    connection.conversation->skip(direction, piece.missing, piece.place);
  } else {
    connection.conversation->feed(direction, bytes, piece.place, piece.acknowledged);
  }
}

void PacketCaptureReader::hold(Connection& connection, const TCPEvent& event) {
  Undecided& undecided = *connection.undecided;
  Undecided::Piece piece;
  piece.fromFirst = event.fromFirst;
  piece.bytes.assign(event.bytes.begin(), event.bytes.end());
  piece.missing = event.kind == TCPEventKind::gap ? event.length : 0;
  piece.place = event.place;
  piece.acknowledged = event.acknowledged;
  undecided.seen += piece.bytes.size();
  keep(undecided, std::move(piece));
  const AccessorySide::Answer answer = undecided.side.look(event.fromFirst, event.bytes);
  if (answer != AccessorySide::Answer::unknown) {
    decide(connection, answer == AccessorySide::Answer::first);
  } else if (undecided.seen > kMostBytesWithoutHTTP) {
    undecidedBytes_ -= undecided.held;
    connection.undecided.reset();
    connection.isPassedOver = true;
    ++passedOver_;
  }
}

void PacketCaptureReader::keep(Undecided& undecided, Undecided::Piece piece) {
  undecided.held += piece.weight();
  undecidedBytes_ += piece.weight();
  undecided.pieces.push_back(std::move(piece));
  while ((undecided.held > kMostUndecidedBytes || undecidedBytes_ > kMostUndecidedInAll) &&
         undecided.pieces.size() > 1) {
    const Undecided::Piece& oldest = undecided.pieces.front();
    undecided.held -= oldest.weight();
    undecidedBytes_ -= oldest.weight();
    undecided.dropped[oldest.fromFirst ? 0 : 1] += oldest.bytes.size() + oldest.missing;
    undecided.pieces.pop_front();
  }
}

void PacketCaptureReader::decide(Connection& connection, bool firstIsAccessory) {
  connection.firstIsAccessory = firstIsAccessory;
  connection.number = ++told_;
  const Endpoint& accessory = firstIsAccessory ? connection.first : connection.second;
  const Endpoint& controller = firstIsAccessory ? connection.second : connection.first;
  ready_.push_back(ConnectionOpened{connection.number, controller.text(), accessory.text(),
                                    connection.firstIsPartial || connection.secondIsPartial});

  const std::unique_ptr<Undecided> undecided = std::move(connection.undecided);
  // What was dropped meanwhile held no message.
  std::array<HTTPConversation::Beginning, 2> beginnings{};
  for (const bool first : {true, false}) {
    HTTPConversation::Beginning& beginning =
        beginnings[static_cast<std::size_t>(directionOf(connection, first))];
    beginning.isPartial = first ? connection.firstIsPartial : connection.secondIsPartial;
    if (undecided != nullptr) beginning.offset = undecided->dropped[first ? 0 : 1];
  }
  connection.conversation = std::make_unique<HTTPConversation>(
      connection.number, beginnings, limits_,
      [this](ExchangeRecord record) { ready_.emplace_back(std::move(record)); });
  if (undecided == nullptr) return;
  undecidedBytes_ -= undecided->held;
  for (const Undecided::Piece& piece : undecided->pieces) {
    pass(connection, piece, piece.bytes);
  }
}

void PacketCaptureReader::note(Connection& connection, const TCPEvent& event, InputNoteKind kind,
                               std::string text) {
  Undecided::Piece piece;
  piece.fromFirst = event.fromFirst;
  piece.place = event.place;
  piece.note = kind;
  piece.text = std::move(text);
  piece.offset = event.offset;
  piece.length = event.length;
  if (connection.undecided != nullptr) {
    keep(*connection.undecided, std::move(piece));
  } else if (connection.conversation != nullptr) {
    pass(connection, piece, {});
  }
}

void PacketCaptureReader::close(const TCPEvent& event) {
  const auto found = connections_.find(event.connection);
  const Connection& connection = found->second;
  if (connection.conversation != nullptr) {
    std::array<bool, 2> ended{};
    ended[static_cast<std::size_t>(directionOf(connection, true))] = event.firstEnded;
    ended[static_cast<std::size_t>(directionOf(connection, false))] = event.secondEnded;
    connection.conversation->finish(ended);
    noteLate(connection, true, event.firstLate);
    noteLate(connection, false, event.secondLate);
    ready_.emplace_back(ConnectionClosed{connection.number});
  } else if (connection.undecided != nullptr && connection.undecided->seen > 0) {
    undecidedBytes_ -= connection.undecided->held;
    ++passedOver_;
  }
  connections_.erase(found);
}

void PacketCaptureReader::noteLate(const Connection& connection, bool fromFirst,
                                   std::uint64_t bytes) {
  if (bytes == 0) return;
  ready_.emplace_back(InputNote{
      InputNoteKind::cameTooLate,
      fmt::format("{} byte{} came so late that they were told to be missing; files that belong "
                  "together are to be merged by time",
                  bytes, bytes == 1 ? "" : "s"),
      0,
      0,
      connection.number,
      directionOf(connection, fromFirst),
      {}});
}

void PacketCaptureReader::finish() {
  noteLeftOut(passedOver_, "without HTTP");
  if (port_) noteLeftOut(otherPorts_, fmt::format("on other ports than {}", *port_));
}

void PacketCaptureReader::noteLeftOut(std::uint64_t count, std::string_view which) {
  if (count == 0) return;
  ready_.emplace_back(
      InputNote{InputNoteKind::connectionsSkipped,
                fmt::format("{} connection{} {} left out", count, count == 1 ? "" : "s", which),
                0,
                0,
                {},
                {},
                {}});
}

}  // namespace

std::unique_ptr<CaptureReader> openPacketCapture(std::shared_ptr<ByteSource> source,
                                                 std::optional<std::uint16_t> accessoryPort,
                                                 FramingLimits limits, ErrorSlot errorDescription) {
  auto segments = PacketSegments::open(source, errorDescription);
  if (segments == nullptr) return nullptr;
  return std::make_unique<PacketCaptureReader>(std::move(source), std::move(segments),
                                               accessoryPort, limits);
}

std::unique_ptr<CaptureReader> openPacketPieces(std::vector<std::string> paths, PieceOpening open,
                                                std::optional<std::uint16_t> accessoryPort,
                                                FramingLimits limits) {
  return std::make_unique<PacketCaptureReader>(
      nullptr, PacketSegments::openPieces(std::move(paths), std::move(open)), accessoryPort,
      limits);
}

}  // namespace qv::capture
