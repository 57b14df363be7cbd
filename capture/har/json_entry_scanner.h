#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "capture/io/stream_window.h"
#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

// Finds the end of one JSON value that comes in pieces, by its strings and brackets alone: whatever
// is valid ends where it should, and what is not ends somewhere. Needs no memory, whatever the
// depth.
class JSONValueEnd {
 public:
  // Answers how many of the bytes, which follow those shown before, belong to the value.
  std::size_t advance(ByteView bytes);
  bool ended() const { return part_ == Part::end; }

 private:
  enum class Part : std::uint8_t { start, scalar, string, escape, between, end };
  Part part_ = Part::start;
  std::uint64_t depth_ = 0;
};

// One element of the list of entries, valid JSON or not.
struct ScannedEntry {
  std::uint64_t offset = 0;  // of its first byte in the text
  std::uint64_t length = 0;
  ByteView text;  // valid until the next call; empty when the entry is larger than the limit
};

// Finds the elements of `log.entries` in a JSON text that comes in pieces, and passes by everything
// else, wherever it stands. Holds no more than the last piece and one entry up to the limit.
//
//   scanner.feed(bytes);
//   while (auto entry = scanner.next()) { ... }
//
// A byte-order mark at the front is skipped. Where `log` or `entries` is repeated, the entries of
// each are found.
class JSONEntryScanner {
 public:
  explicit JSONEntryScanner(std::uint64_t entryLimit) : entryLimit_(entryLimit) {}

  void feed(ByteView bytes);
  // Null when more bytes are needed, and when nothing that comes can matter.
  std::optional<ScannedEntry> next();

  enum class State : std::uint8_t {
    open,      // more is to come
    closed,    // the outermost object has ended
    overrun,   // and bytes follow that are no blanks
    broken,    // the text around the entries is no JSON
    noObject,  // the text does not begin with an object
    noLog,     // `log` is no object
    noList,    // `entries` is no list
  };
  State state() const { return state_; }
  bool sawEntries() const { return sawEntries_; }
  bool isInsideEntry() const { return place_ == Place::entry; }
  // Of the entry under way; otherwise of the first byte that was not taken in, which is the one
  // that made the state what it is.
  std::uint64_t offset() const { return isInsideEntry() ? entryOffset_ : window_.offset(); }

 private:
  enum class Place : std::uint8_t {
    mark,  // before the byte-order mark, if there is one
    value,
    firstKey,
    key,
    insideKey,
    colon,
    passing,  // inside of a value that is of no interest
    firstEntry,
    entry,
    comma,
    end,
  };
  // The containers that are entered, from the outside in.
  enum Level : std::uint8_t { kOutside, kDocument, kLog, kEntries };

  void scanAround();
  bool skipMark();
  void take(char byte);
  void takeValue(char byte);
  void takeKeyByte(char byte);
  bool keyIs(const char* name) const;
  void enter(Level level, Place first);
  void leave();
  void stop(State state);
  std::optional<ScannedEntry> scanEntry();

  std::uint64_t entryLimit_;
  StreamWindow window_;  // begins with the entry that is under way or was just given out
  std::size_t kept_ = 0;
  std::size_t given_ = 0;
  State state_ = State::open;
  Place place_ = Place::mark;
  std::uint8_t level_ = kOutside;
  bool sawEntries_ = false;
  bool isEscaped_ = false;
  std::string key_;  // as it is written, no longer than any form of a name that matters
  JSONValueEnd value_;
  std::uint64_t entryOffset_ = 0;
  std::uint64_t entryLength_ = 0;
};

}  // namespace qv::capture
