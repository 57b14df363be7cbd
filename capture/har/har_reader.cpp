#include "capture/har/har_reader.h"

#include <fmt/format.h>

#include <deque>
#include <map>
#include <utility>

#include "capture/har/har_entry.h"
#include "capture/har/json_entry_scanner.h"

namespace qv::capture {

namespace {

constexpr std::size_t kPieceSize = std::size_t{1} << 16;

// The connections that entries name. Remembers a bounded number of them.
class NamedConnections {
 public:
  struct Connection {
    std::uint64_t number = 0;
    std::uint64_t requests = 0;
  };

  // Adds what has to be told before the first use to the events.
  Connection& find(const HAREntry& entry, std::deque<CaptureEvent>& events) {
    Key key(entry.connection.size() <= kLongestName ? entry.connection : "", entry.server);
    const auto [place, isNew] = connections_.try_emplace(std::move(key));
    if (isNew) {
      if (order_.size() == kRemembered) forgetFirst(events);
      order_.push_back(place);
      place->second.number = ++count_;
      events.emplace_back(ConnectionOpened{count_, "", entry.server, false});
    }
    return place->second;
  }

  void closeAll(std::deque<CaptureEvent>& events) {
    while (!order_.empty()) forgetFirst(events);
  }

 private:
  using Key = std::pair<std::string, std::string>;
  using Connections = std::map<Key, Connection>;
  static constexpr std::size_t kRemembered = 1000;
  static constexpr std::size_t kLongestName = 100;

  void forgetFirst(std::deque<CaptureEvent>& events) {
    events.emplace_back(ConnectionClosed{order_.front()->second.number});
    connections_.erase(order_.front());
    order_.pop_front();
  }

  Connections connections_;
  std::deque<Connections::iterator> order_;
  std::uint64_t count_ = 0;
};

class HARReader : public CaptureReader {
 public:
  HARReader(std::shared_ptr<ByteSource> source, FramingLimits limits)
      : source_(std::move(source)),
        limits_(limits),
        scanner_(limits.messageBytes),
        piece_(std::make_unique_for_overwrite<std::uint8_t[]>(kPieceSize)) {}

  std::optional<CaptureEvent> next() override {
    while (events_.empty() && !ended_) {
      if (const std::optional<ScannedEntry> entry = scanner_.next()) {
        takeEntry(*entry);
      } else if (!readPiece()) {
        end();
      }
    }
    if (events_.empty()) return std::nullopt;
    CaptureEvent event = std::move(events_.front());
    events_.pop_front();
    return event;
  }

  std::string_view format() const override { return "har"; }
  std::string contents() const override {
    if (entryCount_ == 0) return "no entries";
    return fmt::format("{} entr{}, none that can be read", entryCount_,
                       entryCount_ == 1 ? "y" : "ies");
  }
  Fidelity fidelity() const override { return fidelity_; }

  std::optional<std::string> error() const override { return error_; }

 private:
  using State = JSONEntryScanner::State;
  struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
  };

  bool readPiece() {
    const bool goesOn = scanner_.state() == State::open || scanner_.state() == State::closed;
    if (!goesOn) return false;
    const std::size_t count = source_->read({piece_.get(), kPieceSize});
    bytesRead_ += count;
    scanner_.feed({piece_.get(), count});
    return count > 0;
  }

  void takeEntry(const ScannedEntry& scanned) {
    const std::uint64_t number = ++entryCount_;
    std::optional<std::string> fault;
    std::optional<HAREntry> entry;
    if (scanned.length > limits_.messageBytes) {
      fault = fmt::format("larger than the limit of {} bytes", limits_.messageBytes);
    } else {
      entry = readHAREntry(scanned.text, scanned.offset, &fault);
    }
    if (entry && !entry->isHTTP) return passOver(number);
    if (entry) return deliver(std::move(*entry), number);
    note(InputNoteKind::unreadablePart,
         fmt::format("entry {} (byte {}): {}", number, scanned.offset, *fault),
         {scanned.offset, scanned.length}, number);
  }

  void passOver(std::uint64_t number) {
    if (passedOver_++ == 0) firstPassedOver_ = number;
  }

  void deliver(HAREntry entry, std::uint64_t number) {
    NamedConnections::Connection& connection = connections_.find(entry, events_);
    ExchangeRecord request;
    request.connection = connection.number;
    request.place = {number, entry.requestTimeNs};
    request.direction = Direction::toAccessory;
    request.requestIndex = request.oldestOpenRequest = connection.requests++;
    ExchangeRecord response;
    response.connection = connection.number;
    response.place = {number, entry.responseTimeNs};
    response.direction = Direction::toController;
    response.answers = request.requestIndex;
    response.oldestOpenRequest = connection.requests;
    deliver(std::move(request), std::move(entry.request));
    if (entry.response) deliver(std::move(response), std::move(*entry.response));
  }

  void deliver(ExchangeRecord record, FramedMessage message) {
    if (!message.complete()) fidelity_ = Fidelity::damaged;
    record.item = std::move(message);
    events_.emplace_back(std::move(record));
  }

  void end() {
    ended_ = true;
    error_ = source_->error();
    if (!error_) tellHowItEnded();
    connections_.closeAll(events_);
    if (passedOver_ > 0) {
      note(InputNoteKind::leftOut,
           fmt::format("entries that are no traffic of HTTP (data:, blob: and the like): {}, the "
                       "first is entry {}",
                       passedOver_, firstPassedOver_),
           {}, firstPassedOver_);
    }
    if (error_) return;
    note(InputNoteKind::eventsNotHeld, "an HTTP archive holds no event notifications", {}, 0);
  }

  void tellHowItEnded() {
    const std::uint64_t at = scanner_.offset();
    switch (scanner_.state()) {
      case State::closed:
        if (!scanner_.sawEntries()) error_ = "no HTTP archive: it holds no log.entries";
        return;
      case State::noObject:
        error_ = "no HTTP archive: it does not begin with an object";
        return;
      case State::noLog:
        error_ = fmt::format("no HTTP archive: log is no object (byte {})", at);
        return;
      case State::noList:
        error_ = fmt::format("no HTTP archive: log.entries is no array (byte {})", at);
        return;
      case State::overrun:
        return note(InputNoteKind::truncated,
                    fmt::format("the archive ends before byte {}, where more follows", at), {at, 0},
                    0);
      case State::broken:
        return note(InputNoteKind::truncated,
                    fmt::format("the archive cannot be read on from byte {}", at), {at, 0}, 0);
      case State::open:
        return tellWhereItWasCut({at, bytesRead_ - at});
    }
  }

  void tellWhereItWasCut(Extent extent) {
    if (bytesRead_ == 0) {
      error_ = "no HTTP archive: it is empty";
    } else if (scanner_.isInsideEntry()) {
      const std::uint64_t number = entryCount_ + 1;
      note(InputNoteKind::truncated,
           fmt::format("the archive ends inside entry {} (byte {})", number, extent.offset), extent,
           number);
    } else {
      note(InputNoteKind::truncated,
           fmt::format("the archive ends unfinished at byte {}", bytesRead_), extent, 0);
    }
  }

  void note(InputNoteKind kind, std::string text, Extent extent, std::uint64_t entryNumber) {
    InputNote note;
    note.kind = kind;
    note.text = std::move(text);
    note.offset = extent.offset;
    note.length = extent.length;
    note.place.number = entryNumber;
    events_.emplace_back(std::move(note));
  }

  std::shared_ptr<ByteSource> source_;
  FramingLimits limits_;
  JSONEntryScanner scanner_;
  std::unique_ptr<std::uint8_t[]> piece_;
  NamedConnections connections_;
  std::deque<CaptureEvent> events_;  // of the last entry, or of the end
  std::uint64_t entryCount_ = 0;
  std::uint64_t passedOver_ = 0;
  std::uint64_t firstPassedOver_ = 0;
  std::uint64_t bytesRead_ = 0;
  Fidelity fidelity_ = Fidelity::reconstructed;
  std::optional<std::string> error_;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<CaptureReader> openHAR(std::shared_ptr<ByteSource> source, FramingLimits limits) {
  return std::make_unique<HARReader>(std::move(source), limits);
}

}  // namespace qv::capture
