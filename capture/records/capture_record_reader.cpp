#include "capture/records/capture_record_reader.h"

#include <algorithm>
#include <deque>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "capture/http/damage_reader.h"
#include "capture/http/recorded_message.h"
#include "capture/io/json_bytes.h"
#include "capture/io/line_reader.h"
#include "capture/records/capture_words.h"
#include "capture/records/record_connections.h"
#include "capture/records/record_fields.h"
#include "capture/records/record_message.h"
#include "qvparsersupport/common/json_reader.h"

namespace qv::capture {
namespace {

constexpr std::string_view kSchema = "qv.capture/1";
// What a line may hold beside the base-64 of its message.
constexpr std::uint64_t kLineSlack = std::uint64_t{64} << 10;
constexpr JSONLimits kJSONLimits{
    .maximumBytes = SIZE_MAX, .maximumDepth = 64, .maximumValues = 10'000};

std::size_t longestLine(FramingLimits limits) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::size_t>::max() / 4;
  const std::uint64_t message = std::min<std::uint64_t>(limits.messageBytes, kMost);
  return static_cast<std::size_t>(message + message / 3 + kLineSlack);
}

class CaptureRecordReader : public CaptureReader {
 public:
  CaptureRecordReader(std::shared_ptr<ByteSource> source, FramingLimits limits)
      : limits_(limits), lines_(std::move(source), longestLine(limits)), connections_(events_) {}

  std::optional<CaptureEvent> next() override;
  std::string_view format() const override { return "ndjson"; }
  std::string contents() const override {
    return fmt::format("{} line{}, none of them a message", line_.number,
                       line_.number == 1 ? "" : "s");
  }
  Fidelity fidelity() const override { return fidelity_; }
  std::optional<std::string> error() const override {
    return error_ ? error_ : lines_.source().error();
  }

 private:
  using Reading = void (CaptureRecordReader::*)(RecordFields& fields);
  struct RecordType {
    std::string_view type;
    Reading read;
    bool mayHideMessages;  // when it cannot be read
  };
  static const RecordType kTypes[];

  // A reading changes nothing when it finds that its record cannot be read.
  void readLine();
  void readRecord(RecordFields& fields);
  void readMessage(RecordFields& fields);
  void readConnection(RecordFields& fields);
  void readClosed(RecordFields& fields);
  void readGap(RecordFields& fields);
  void readDamage(RecordFields& fields);
  void readNote(RecordFields& fields);
  void readFidelity(RecordFields& fields);
  void readRun(RecordFields& fields);

  void addItem(RecordFields& fields, StreamItem item);

  void reject(std::string_view reason);
  void loseMessage(RecordFields& fields);
  void noteOtherRecords();
  void note(InputNoteKind kind, std::string text);
  void worsen(Fidelity fidelity) { fidelity_ = std::max(fidelity_, fidelity); }
  void open(const std::string& name, ConnectionOpened opened, bool paired);
  RecordConnection& connectionNamed(const std::string& name);
  CapturePlace place(std::optional<std::int64_t> time = std::nullopt) const {
    return {line_.number, time};
  }

  FramingLimits limits_;
  LineReader lines_;
  InputLine line_;
  std::deque<CaptureEvent> events_;
  RecordConnections connections_;
  // The last line that may have held a message of any connection.
  std::uint64_t lostOffset_ = 0;
  std::uint64_t lostLength_ = 0;
  std::uint64_t otherRecords_ = 0;  // of types that are not known
  std::uint64_t firstOther_ = 0;    // the line of the first
  bool atEnd_ = false;
  Fidelity fidelity_ = Fidelity::exact;
  std::optional<std::string> error_;
};

const CaptureRecordReader::RecordType CaptureRecordReader::kTypes[] = {
    {"capture", &CaptureRecordReader::readMessage, true},
    {"connection", &CaptureRecordReader::readConnection, false},
    {"closed", &CaptureRecordReader::readClosed, false},
    {"gap", &CaptureRecordReader::readGap, true},
    {"damage", &CaptureRecordReader::readDamage, true},
    {"note", &CaptureRecordReader::readNote, false},
    {"fidelity", &CaptureRecordReader::readFidelity, false},
    {"run", &CaptureRecordReader::readRun, false},
};

std::optional<CaptureEvent> CaptureRecordReader::next() {
  for (;;) {
    if (!events_.empty()) {
      CaptureEvent event = std::move(events_.front());
      events_.pop_front();
      return event;
    }
    if (atEnd_) {
      if (!connections_.closeQuietest()) return std::nullopt;
      continue;
    }
    const std::optional<InputLine> line = error_ ? std::nullopt : lines_.next();
    atEnd_ = !line.has_value();
    if (atEnd_) {
      noteOtherRecords();
      continue;
    }
    line_ = *line;
    readLine();
  }
}

// Later versions may have more types; but a slip of the pen would take a message away in silence.
void CaptureRecordReader::noteOtherRecords() {
  if (otherRecords_ == 0) return;
  note(InputNoteKind::leftOut,
       otherRecords_ == 1
           ? fmt::format("a record of an unknown type left out: line {}", firstOther_)
           : fmt::format("{} records of unknown types left out, the first in line {}",
                         otherRecords_, firstOther_));
}

void CaptureRecordReader::readLine() {
  std::string_view text = textOf(line_.bytes);
  if (line_.number == 1 && text.starts_with(kByteOrderMark)) {
    text.remove_prefix(kByteOrderMark.size());
  }
  if (!line_.tooLong && std::ranges::all_of(bytesOf(text), isBlank)) return;
  JSONParseResult json;
  if (!line_.tooLong) json = parseJSON(bytesOf(text), kJSONLimits);
  if (json.value && json.value->isDictionary()) {
    RecordFields fields(std::move(*json.value));
    readRecord(fields);
    return;
  }
  lostOffset_ = line_.offset;
  lostLength_ = line_.length;
  if (line_.tooLong) {
    reject(fmt::format("longer than {} bytes", longestLine(limits_)));
  } else if (json.value) {
    reject("no JSON object");
  } else if (!line_.ended) {
    note(InputNoteKind::truncated,
         fmt::format("the input ends within line {} (byte {})", line_.number, line_.offset));
    worsen(Fidelity::damaged);
  } else {
    reject(fmt::format("no JSON: {}", json.error));
  }
}

void CaptureRecordReader::readRecord(RecordFields& fields) {
  const std::string type = fields.required("type", fields.text("type"));
  const auto* row = std::ranges::find(kTypes, type, &RecordType::type);
  if (row != std::end(kTypes)) (this->*row->read)(fields);
  if (!fields.error()) {
    if (row == std::end(kTypes) && ++otherRecords_ == 1) firstOther_ = line_.number;
    return;
  }
  if (row == std::end(kTypes) || row->mayHideMessages) loseMessage(fields);
  reject(*fields.error());
}

void CaptureRecordReader::readMessage(RecordFields& fields) {
  const std::string name = fields.required("connection", fields.connection());
  const std::optional<std::int64_t> time = fields.time("time_ns");
  FramedMessage message = messageOfRecord(fields, limits_);
  const ToldPairing told = pairingOfRecord(fields);
  if (fields.error()) return;
  placeAt(message, line_.offset, line_.length);
  const bool isTold = fields.word("completeness", kCompletenessWords).has_value();
  RecordConnection& connection = connectionNamed(name);
  if (!connection.paired()) connection.frameAnswerToHead(message);
  if (message.completeness == Completeness::bodyDamaged && !isTold) worsen(Fidelity::damaged);
  if (!connection.paired()) {
    connection.add(std::move(message), place(time));
  } else if (!connection.addPaired(std::move(message), place(time), told)) {
    fields.complain("request is not behind the one before");
  }
  connections_.deliver(connection);
}

void CaptureRecordReader::readConnection(RecordFields& fields) {
  const std::string name = fields.required("connection", fields.connection());
  ConnectionOpened opened;
  opened.client = fields.text("client").value_or("");
  opened.server = fields.text("server").value_or("");
  opened.partialStart = fields.flag("partial_start").value_or(false);
  const bool paired = fields.flag("paired").value_or(false);
  if (fields.error()) return;
  open(name, std::move(opened), paired);
}

void CaptureRecordReader::open(const std::string& name, ConnectionOpened opened, bool paired) {
  if (connections_.open(name, std::move(opened), paired)) {
    note(InputNoteKind::reassemblyLimit, "too many connections at a time; the quietest are closed");
  }
}

void CaptureRecordReader::readClosed(RecordFields& fields) {
  const std::string name = fields.required("connection", fields.connection());
  if (!fields.error()) connections_.close(name);
}

void CaptureRecordReader::readGap(RecordFields& fields) {
  Gap gap;
  gap.offset = fields.count("offset").value_or(0);
  gap.length = fields.required("bytes", fields.count("bytes"));
  gap.mayHideMessages = fields.flag("may_hide_messages").value_or(true);
  addItem(fields, gap);
}

void CaptureRecordReader::readDamage(RecordFields& fields) {
  const DamageKind kind = fields.word("kind", kDamageWords).value_or(DamageKind::noMessage);
  const std::uint64_t offset = fields.count("offset").value_or(0);
  const std::uint64_t length = fields.required("bytes", fields.count("bytes"));
  const bool mayHide = fields.flag("may_hide_messages").value_or(true);
  if (length > UINT64_MAX - offset) fields.complain("bytes is too large");
  if (!fields.error()) addItem(fields, damageOf(kind, offset, offset + length, mayHide));
}

void CaptureRecordReader::addItem(RecordFields& fields, StreamItem item) {
  const std::string name = fields.required("connection", fields.connection());
  const std::optional<Direction> direction = fields.direction();
  const std::optional<std::int64_t> time = fields.time("time_ns");
  if (fields.error()) return;
  RecordConnection& connection = connectionNamed(name);
  connection.add(std::move(item), *direction, place(time), line_.offset, line_.length);
  connections_.deliver(connection);
}

void CaptureRecordReader::readNote(RecordFields& fields) {
  InputNote note;
  const auto kind = fields.word("kind", kInputNoteWords);
  note.kind = fields.required("kind", kind);
  note.text = fields.required("text", fields.text("text"));
  note.offset = fields.count("offset").value_or(0);
  note.length = fields.count("length").value_or(0);
  note.direction = fields.word("direction", kDirectionWords);
  note.place = place(fields.time("time_ns"));
  const std::optional<std::string> name = fields.connection();
  if (fields.error()) return;
  if (name) note.connection = connectionNamed(*name).number();
  events_.emplace_back(std::move(note));
}

void CaptureRecordReader::readFidelity(RecordFields& fields) {
  worsen(fields.required("fidelity", fields.word("fidelity", kFidelityWords)));
}

void CaptureRecordReader::readRun(RecordFields& fields) {
  const std::optional<std::string> schema = fields.text("schema");
  if (!fields.error() && schema && *schema != kSchema) {
    error_ = fmt::format("holds records of {}, not of {}", *schema, kSchema);
  }
}

// Opens the connection when none of that name is open.
RecordConnection& CaptureRecordReader::connectionNamed(const std::string& name) {
  if (connections_.find(name) == nullptr) open(name, ConnectionOpened(), false);
  connections_.touch(name);
  RecordConnection& connection = *connections_.find(name);
  connection.loseOnce(lostOffset_, lostLength_);
  return connection;
}

// Where it is not known whose message is lost, it may be that of any connection.
void CaptureRecordReader::loseMessage(RecordFields& fields) {
  const std::optional<std::string> name = fields.connection();
  const std::optional<Direction> direction = fields.word("direction", kDirectionWords);
  RecordConnection* connection = name ? connections_.find(*name) : nullptr;
  if (connection != nullptr && direction) {
    connection->lose(*direction, line_.offset, line_.length);
  } else {
    lostOffset_ = line_.offset;
    lostLength_ = line_.length;
  }
}

void CaptureRecordReader::reject(std::string_view reason) {
  note(InputNoteKind::unreadablePart,
       fmt::format("line {} (byte {}): {}", line_.number, line_.offset, reason));
  worsen(Fidelity::damaged);
}

void CaptureRecordReader::note(InputNoteKind kind, std::string text) {
  InputNote note;
  note.kind = kind;
  note.text = std::move(text);
  note.offset = line_.offset;
  note.length = line_.length;
  note.place = place();
  events_.emplace_back(std::move(note));
}

}  // namespace

std::unique_ptr<CaptureReader> openCaptureRecords(std::shared_ptr<ByteSource> source,
                                                  FramingLimits limits) {
  return std::make_unique<CaptureRecordReader>(std::move(source), limits);
}

}  // namespace qv::capture
