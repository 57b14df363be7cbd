#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <optional>
#include <string>

#include "capture/capture_reader.h"
#include "capture/http/http_conversation.h"
#include "capture/http/http_framer.h"
#include "capture/tcp/tcp_connections.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

struct HoldingLimits {
  // What all connections together hold of unfinished messages, of requests without a response, and
  // of bytes before a side was found to be the accessory. Beyond, the connection that was quiet
  // longest gives up what it holds, but never the one that is heard: its message may be as large as
  // the limit for one.
  std::size_t bytes = std::size_t{32} << 20;
  // Of one connection before a side was found to be the accessory; older bytes held no start line.
  std::size_t undecidedBytes = std::size_t{128} << 10;
  // Where nothing that looks like HTTP came in so many bytes, a connection is about something else.
  std::uint64_t bytesWithoutHTTP = std::uint64_t{16} << 20;
};

// What the TCP connections of a capture say in HTTP: which side is the accessory, and the messages.
//
// With `accessoryPort` the accessory's side is the one with that port, and connections without it
// are passed over. Otherwise the side that sends responses or is sent requests; connections on
// which neither was seen are passed over. Both are counted in a note at the end, and so are, apart,
// those of which more bytes are missing than were captured.
//
// What is given up to keep memory within bounds is an input note; a message of which something was
// is not judged, and the connection goes on with the next start line.
class QV_EXPORT HTTPConnections {
 public:
  explicit HTTPConnections(std::optional<std::uint16_t> accessoryPort = std::nullopt,
                           FramingLimits framing = {}, HoldingLimits holding = {});
  HTTPConnections(const HTTPConnections&) = delete;
  HTTPConnections& operator=(const HTTPConnections&) = delete;
  ~HTTPConnections();

  void add(const TCPEvent& event);
  void finish();
  // Null when more is needed or, after `finish`, when everything was told.
  std::optional<CaptureEvent> next();

  // Of all connections, as `HoldingLimits::bytes` bounds it.
  std::size_t heldBytes() const { return held_; }

 private:
  struct Undecided;
  struct Piece;
  struct Connection;

  void open(const TCPEvent& event);
  void receive(Connection& connection, const TCPEvent& event);
  void hold(Connection& connection, const TCPEvent& event);
  void passOver(Connection& connection);
  void decide(Connection& connection, bool firstIsAccessory);
  void pass(Connection& connection, const Piece& piece, ByteView bytes);
  void note(Connection& connection, const TCPEvent& event, InputNoteKind kind, std::string text);
  void close(const TCPEvent& event);
  void noteLate(const Connection& connection, bool fromFirst, std::uint64_t bytes);
  void noteInput(InputNoteKind kind, std::string text,
                 std::optional<std::uint64_t> connection = std::nullopt);
  // To be called after everything that a connection did.
  void keepBooks(Connection& connection);
  void keepSum(Connection& connection);
  void enforceLimit(const Connection& heard);
  void giveUp(Connection& connection);

  std::optional<std::uint16_t> port_;
  FramingLimits framing_;
  HoldingLimits limits_;
  std::map<std::uint64_t, Connection> connections_;
  std::list<Connection*> holders_;  // those that hold something, the one quiet longest first
  std::size_t held_ = 0;
  std::deque<CaptureEvent> ready_;
  std::uint64_t told_ = 0;
  std::uint64_t passedOver_ = 0;
  std::uint64_t passedOverMissing_ = 0;  // bytes of these
  std::uint64_t cutUndecided_ = 0;  // of these, with bytes given up in which HTTP may have begun
  std::uint64_t missing_ = 0;       // connections of which too little is there to tell
  std::uint64_t missingBytes_ = 0;
  std::uint64_t otherPorts_ = 0;
};

}  // namespace qv::capture
