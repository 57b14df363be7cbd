#include "capture/records/capture_record_writer.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <variant>

#include <fmt/format.h>

#include "capture/http/recorded_message.h"
#include "capture/records/capture_words.h"
#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/common/json_writer.h"

namespace qv::capture {
namespace {

// A line that took more gives its memory back.
constexpr std::size_t kKeptCapacity = std::size_t{1} << 20;

bool sameNotes(const FramedMessage& left, const FramedMessage& right) {
  return std::ranges::equal(left.notes, right.notes,
                            [](const FramingNote& one, const FramingNote& other) {
                              return one.kind == other.kind && one.text == other.text;
                            });
}

template <class... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace

CaptureRecordWriter::CaptureRecordWriter(Output output) : output_(std::move(output)) {
  begin("run");
  add("schema", "qv.capture/1");
  end();
}

void CaptureRecordWriter::write(const CaptureEvent& event) {
  std::visit(Overloaded{
                 [&](const ConnectionOpened& opened) { writeOpened(opened); },
                 [&](const ExchangeRecord& record) { writeRecord(record); },
                 [&](const InputNote& note) { writeNote(note); },
                 [&](const ConnectionClosed& closed) {
                   begin("closed");
                   add("connection", numberOf(closed.connection));
                   end();
                 },
             },
             event);
}

void CaptureRecordWriter::endInput(Fidelity fidelity) {
  begin("fidelity");
  add("fidelity", wordFor(kFidelityWords, fidelity));
  end();
  earlier_ = latest_;
}

void CaptureRecordWriter::writeOpened(const ConnectionOpened& opened) {
  begin("connection");
  add("connection", numberOf(opened.connection));
  if (!opened.client.empty()) addText("client", opened.client);
  if (!opened.server.empty()) addText("server", opened.server);
  addFlag("partial_start", opened.partialStart);
  addFlag("paired", true);
  end();
}

void CaptureRecordWriter::writeRecord(const ExchangeRecord& record) {
  if (const FramedMessage* message = record.message()) {
    writeMessage(record, *message);
  } else if (const Gap* gap = record.gap()) {
    begin("gap");
    place(record.connection, record.direction, record.place);
    add("offset", gap->offset);
    add("bytes", gap->length);
    addFlag("may_hide_messages", gap->mayHideMessages);
  } else if (const Damage* damage = record.damage()) {
    begin("damage");
    place(record.connection, record.direction, record.place);
    add("kind", wordFor(kDamageWords, damage->kind));
    add("offset", damage->offset);
    add("bytes", damage->length);
    addFlag("may_hide_messages", damage->mayHideMessages);
  }
  end();
}

void CaptureRecordWriter::writeMessage(const ExchangeRecord& record, const FramedMessage& message) {
  begin("capture");
  place(record.connection, record.direction, record.place);
  addBase64("header_base64", message.header);
  if (message.body) addBase64("body_base64", *message.body);
  if (record.requestIndex) add("request", *record.requestIndex);
  if (record.answers) add("answers", *record.answers);
  if (!record.unpairedReason.empty()) addText("unpaired", record.unpairedReason);
  if (record.pairingUncertain) addFlag("uncertain", true);
  add("oldest_open", record.oldestOpenRequest);

  // What a reader would not find out from header and body.
  const FramedMessage read = recordedMessage(message.direction, message.header, message.body);
  if (message.completeness != read.completeness || !message.complete()) {
    add("completeness", wordFor(kCompletenessWords, message.completeness));
  }
  if (!message.endKnown) addFlag("end_known", false);
  if (!sameNotes(message, read)) {
    line_ += ",\"notes\":[";
    std::string_view comma;
    for (const FramingNote& note : message.notes) {
      line_ +=
          fmt::format("{}{{\"kind\":\"{}\",\"text\":{}}}", std::exchange(comma, ","),
                      wordFor(kFramingNoteWords, note.kind), jsonText(Value::string(note.text)));
    }
    line_ += ']';
  }
}

void CaptureRecordWriter::writeNote(const InputNote& note) {
  begin("note");
  add("kind", wordFor(kInputNoteWords, note.kind));
  addText("text", note.text);
  add("offset", note.offset);
  add("length", note.length);
  if (note.connection) add("connection", numberOf(*note.connection));
  if (note.direction) add("direction", wordFor(kDirectionWords, *note.direction));
  if (note.place.timeNs) addText("time_ns", fmt::format("{}", *note.place.timeNs));
  end();
}

void CaptureRecordWriter::begin(std::string_view type) {
  line_ = "{\"type\":\"";
  line_ += type;
  line_ += '"';
}

void CaptureRecordWriter::place(std::uint64_t connection, Direction direction,
                                const CapturePlace& place) {
  add("connection", numberOf(connection));
  add("direction", wordFor(kDirectionWords, direction));
  if (place.timeNs) addText("time_ns", fmt::format("{}", *place.timeNs));
}

void CaptureRecordWriter::add(std::string_view key, std::string_view word) {
  fmt::format_to(std::back_inserter(line_), ",\"{}\":\"{}\"", key, word);
}

void CaptureRecordWriter::add(std::string_view key, std::uint64_t number) {
  fmt::format_to(std::back_inserter(line_), ",\"{}\":{}", key, number);
}

void CaptureRecordWriter::addFlag(std::string_view key, bool value) {
  fmt::format_to(std::back_inserter(line_), ",\"{}\":{}", key, value);
}

void CaptureRecordWriter::addText(std::string_view key, std::string_view text) {
  fmt::format_to(std::back_inserter(line_), ",\"{}\":{}", key, jsonText(Value::string(text)));
}

void CaptureRecordWriter::addBase64(std::string_view key, ByteView bytes) {
  fmt::format_to(std::back_inserter(line_), ",\"{}\":\"", key);
  appendBase64(line_, bytes);
  line_ += '"';
}

void CaptureRecordWriter::end() {
  line_ += "}\n";
  output_(line_);
  if (line_.capacity() > kKeptCapacity) std::string().swap(line_);
}

std::uint64_t CaptureRecordWriter::numberOf(std::uint64_t connection) {
  const std::uint64_t number = earlier_ + connection;
  latest_ = std::max(latest_, number);
  return number;
}

}  // namespace qv::capture
