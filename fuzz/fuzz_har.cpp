// Reads an HTTP archive as a whole and in pieces. Both give the same events. An entry that became
// messages is one JSON value at the place that it names, and its header blocks are lines. Where the
// whole text is JSON, the entries are the elements of log.entries, each of them and no other.
//
// The input: a byte of switches (bit 0 a small entry limit, bits 4 to 7 the piece size less one)
// and the archive.

#include <algorithm>
#include <tuple>
#include <vector>

#include "capture/har/har_reader.h"
#include "fuzz/fuzz.h"
#include "qvparsersupport/common/json_reader.h"

namespace {

using namespace qv;
using namespace qv::capture;
using fuzz::expect;

constexpr std::uint64_t kSmallLimit = 100;

struct Reading {
  std::vector<CaptureEvent> events;
  Fidelity fidelity;
  std::optional<std::string> error;
};

Reading read(ByteView archive, std::size_t pieceSize, FramingLimits limits) {
  const auto reader = openHAR(
      std::make_shared<MemorySource>(Bytes(archive.begin(), archive.end()), pieceSize), limits);
  Reading reading;
  while (auto event = reader->next()) reading.events.push_back(std::move(*event));
  reading.fidelity = reader->fidelity();
  reading.error = reader->error();
  return reading;
}

auto facts(const CapturePlace& place) {
  return std::tie(place.number, place.timeNs);
}
bool same(const ConnectionOpened& a, const ConnectionOpened& b) {
  return a.connection == b.connection && a.server == b.server;
}
bool same(const ConnectionClosed& a, const ConnectionClosed& b) {
  return a.connection == b.connection;
}
bool same(const InputNote& a, const InputNote& b) {
  const auto all = [](const InputNote& note) {
    return std::tie(note.kind, note.text, note.offset, note.length, note.place.number);
  };
  return all(a) == all(b);
}
bool same(const ExchangeRecord& a, const ExchangeRecord& b) {
  const auto all = [](const ExchangeRecord& record) {
    const FramedMessage& message = *record.message();
    return std::tuple_cat(
        facts(record.place),
        std::tie(record.connection, record.direction, record.requestIndex, record.answers,
                 message.kind, message.beginOffset, message.endOffset, message.header, message.body,
                 message.framing, message.completeness));
  };
  return all(a) == all(b);
}
bool sameEvent(const CaptureEvent& a, const CaptureEvent& b) {
  if (a.index() != b.index()) return false;
  return std::visit(
      [&](const auto& one) { return same(one, std::get<std::decay_t<decltype(one)>>(b)); }, a);
}
bool sameReading(const Reading& a, const Reading& b) {
  return std::ranges::equal(a.events, b.events, sameEvent) && a.fidelity == b.fidelity &&
         a.error == b.error;
}

// An entry, read or not.
struct Entry {
  std::uint64_t number;
  std::uint64_t begin;
  std::uint64_t end;
  bool isRead;
};

void checkHeader(std::string_view header) {
  expect(header.ends_with("\r\n"), "a header ends with its last line");
  expect(header.find("\r\n\r\n") == std::string_view::npos, "no line of a header is empty");
  expect(std::ranges::count(header, '\r') == std::ranges::count(header, '\n') &&
             header.find('\0') == std::string_view::npos,
         "what stands in a header leaves it whole");
}

bool hasNote(const Reading& reading, InputNoteKind kind) {
  return std::ranges::any_of(reading.events, [kind](const CaptureEvent& event) {
    const auto* note = std::get_if<InputNote>(&event);
    return note != nullptr && note->kind == kind;
  });
}

std::vector<Entry> entriesOf(const Reading& reading) {
  std::vector<Entry> entries;
  const bool isCut = hasNote(reading, InputNoteKind::truncated);
  for (const CaptureEvent& event : reading.events) {
    if (const auto* record = std::get_if<ExchangeRecord>(&event)) {
      const FramedMessage& message = *record->message();
      checkHeader(textOf(message.header));
      expect(!message.body || !message.body->empty(), "a body has bytes");
      if (record->answers) {
        expect(!entries.empty() && entries.back().number == record->place.number,
               "an answer follows its request");
      } else {
        std::uint64_t end = message.endOffset;
        if (fuzz::planted(record->connection > 1 && isCut)) ++end;
        entries.push_back({record->place.number, message.beginOffset, end, true});
      }
    } else if (const auto* note = std::get_if<InputNote>(&event)) {
      if (note->kind != InputNoteKind::unreadablePart) continue;
      entries.push_back({note->place.number, note->offset, note->offset + note->length, false});
    }
  }
  return entries;
}

// Entries that are passed over are in none of the events.
void checkPlaces(const std::vector<Entry>& entries, bool passedOver, ByteView archive) {
  std::uint64_t position = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const Entry& entry = entries[i];
    expect(passedOver ? entry.number > (i == 0 ? 0 : entries[i - 1].number) : entry.number == i + 1,
           "entries are counted");
    expect(position < entry.begin && entry.begin < entry.end && entry.end <= archive.size(),
           "entries stand in the archive one after the other");
    position = entry.end;
    if (!entry.isRead) continue;
    const auto read = parseJSON(archive.subspan(entry.begin, entry.end - entry.begin));
    expect(read.value && read.value->isDictionary(), "an entry is one object");
  }
}

// What a reader of the whole text finds.
void checkAgainstTree(const Reading& reading, const std::vector<Entry>& entries, ByteView archive) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  const bool hasMark = textOf(archive).starts_with(kMark);
  const auto tree = parseJSON(archive.subspan(hasMark ? kMark.size() : 0));
  if (!tree.value || tree.hasRepeatedKeys) return;
  const Value log = tree.value->find("log").value_or(Value());
  const Value list = log.find("entries").value_or(Value());
  expect(list.isArray() == !reading.error.has_value(), "an archive has a list of entries");
  expect(!hasNote(reading, InputNoteKind::truncated), "an archive that is JSON is whole");
  if (!list.isArray()) return;
  const bool passedOver = hasNote(reading, InputNoteKind::leftOut);
  expect(passedOver ? list.count() > entries.size() : list.count() == entries.size(),
         "every element of the list is an entry");
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto read =
        parseJSON(archive.subspan(entries[i].begin, entries[i].end - entries[i].begin));
    expect(read.value && *read.value == list.at(entries[i].number - 1),
           "an entry is the element of its number");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const ByteView archive(data + 1, size - 1);
  FramingLimits limits;
  if (data[0] & 1) limits.messageBytes = kSmallLimit;
  const std::size_t root = (data[0] >> 4) + 1U;

  const Reading whole = read(archive, SIZE_MAX, limits);
  const auto entries = entriesOf(whole);
  checkPlaces(entries, hasNote(whole, InputNoteKind::leftOut), archive);
  checkAgainstTree(whole, entries, archive);
  expect(sameReading(whole, read(archive, root * root, limits)), "pieces give the same events");
  return 0;
}
