#include "tools/qvcheck/record_stream.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <type_traits>

#include "tools/qvcheck/report_fields.h"

namespace qv::check {

namespace {

constexpr char kInput = 'i';
constexpr char kConnection = 'c';
constexpr char kMessage = 'm';
constexpr char kFinding = 'f';
constexpr char kGap = 'g';
constexpr char kEnd = 'e';

// What the records themselves do not tell.
template <class F, Is<Summary> R>
void accountFields(F& f, R& r) {
  f("findings_ignored", r.ignored);
  f("stopped_early", r.stoppedEarly);
  f("complete", r.complete);
  f("outcomes", r.outcomes);
}

template <class T>
concept Plain = std::is_arithmetic_v<T> || std::is_enum_v<T>;

struct Encoder {
  std::string& out;

  template <class T>
  void operator()(const char*, const T& field) {
    put(field);
  }
  template <Plain T>
  void put(const T& value) {
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void put(std::string_view text) {
    put(text.size());
    out += text;
  }
  void put(const std::string& text) { put(std::string_view(text)); }
  template <class T>
  void put(const std::vector<T>& values) {
    put(values.size());
    for (const T& value : values) put(value);
  }
  template <class T>
  void put(const std::optional<T>& value) {
    put(value.has_value());
    if (value) put(*value);
  }
  template <class T>
  void put(const OrNull<T>& field) {
    put(field.value);
  }
  template <class T>
  void put(const Origin<T>& origin) {
    put(origin.fromTool);
  }
  template <class T>
  void put(const AsText<T>& field) {
    put(field.number);
  }
  template <class Record>
  requires(!Plain<Record>) void put(const Record& record) { fields(*this, record); }
  void put(const MessageRecord& record) {
    put(record.inputName);
    fields(*this, record);
  }
  void put(const WorkerEnd& end) {
    put(end.goesOn);
    put(end.complaints);
    accountFields(*this, end.account);
  }
};

// Of what an Encoder wrote, in the same process image, so that the form need not be checked.
struct Decoder {
  std::string_view in;

  template <class T>
  void operator()(const char*, T&& field) {
    get(field);
  }
  std::string_view take(std::size_t count) {
    const std::string_view taken = in.substr(0, count);
    in.remove_prefix(taken.size());
    return taken;
  }
  template <Plain T>
  void get(T& value) {
    const std::string_view bytes = take(sizeof value);
    std::memcpy(&value, bytes.data(), bytes.size());
  }
  std::string_view text() {
    std::size_t size = 0;
    get(size);
    return take(size);
  }
  void get(std::string& value) { value = text(); }
  void get(std::string_view& value) { value = wordOfRecords(text()).value_or(std::string_view()); }
  template <class T>
  void get(std::vector<T>& values) {
    std::size_t size = 0;
    get(size);
    values.resize(size);
    for (T& value : values) get(value);
  }
  template <class T>
  void get(std::optional<T>& value) {
    bool has = false;
    get(has);
    value.reset();
    if (has) get(value.emplace());
  }
  template <class T>
  void get(OrNull<T>& field) {
    get(field.value);
  }
  template <class T>
  void get(Origin<T>& origin) {
    get(origin.fromTool);
  }
  template <class T>
  void get(AsText<T>& field) {
    get(field.number);
  }
  template <class Record>
  requires(!Plain<Record>) void get(Record& record) { fields(*this, record); }
  void get(MessageRecord& record) {
    get(record.inputName);
    fields(*this, record);
  }
  void get(WorkerEnd& end) {
    get(end.goesOn);
    get(end.complaints);
    accountFields(*this, end.account);
  }
};

template <class Record>
Record decoded(std::string_view bytes) {
  Record record;
  Decoder{bytes}.get(record);
  return record;
}

}  // namespace

template <class Record>
void RecordWriter::write(char type, const Record& record) {
  constexpr std::size_t kWrittenAtOnce = 1 << 16;
  const std::size_t start = buffer_.size();
  Encoder encoder{buffer_};
  encoder.put(std::size_t{0});
  encoder.put(type);
  encoder.put(record);
  const std::size_t length = buffer_.size() - start - sizeof(std::size_t);
  std::memcpy(buffer_.data() + start, &length, sizeof length);
  if (buffer_.size() >= kWrittenAtOnce) writeOut();
}

bool RecordWriter::writeOut() {
  std::string_view left = buffer_;
  while (!left.empty() && !failed_) {
    const ssize_t count = ::write(descriptor_, left.data(), left.size());
    if (count >= 0) {
      left.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      failed_ = true;
    }
  }
  buffer_.clear();
  return !failed_;
}

void RecordWriter::input(const InputRecord& record) {
  write(kInput, record);
}
void RecordWriter::connection(const ConnectionRecord& record) {
  write(kConnection, record);
}
void RecordWriter::message(const MessageRecord& record) {
  write(kMessage, record);
}
void RecordWriter::finding(const Finding& record) {
  write(kFinding, record);
}
void RecordWriter::gap(const GapRecord& record) {
  write(kGap, record);
}

bool RecordWriter::end(const WorkerEnd& record) {
  write(kEnd, record);
  return writeOut();
}

std::optional<std::string_view> RecordReplay::bytes(std::size_t count) {
  constexpr std::size_t kReadAtOnce = 1 << 16;
  while (buffer_.size() - position_ < count) {
    buffer_.erase(0, position_);
    position_ = 0;
    const std::size_t before = buffer_.size();
    buffer_.resize(before + std::max(kReadAtOnce, count - before));
    const ssize_t got = ::pread(descriptor_, buffer_.data() + before, buffer_.size() - before,
                                static_cast<off_t>(read_));
    const bool again = got < 0 && errno == EINTR;
    buffer_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    if (got <= 0 && !again) return std::nullopt;
    read_ += buffer_.size() - before;
  }
  const std::string_view taken = std::string_view(buffer_).substr(position_, count);
  position_ += count;
  return taken;
}

bool RecordReplay::next(ReportSink& sink) {
  const auto head = bytes(sizeof(std::size_t));
  if (!head) return false;
  std::size_t length = 0;
  std::memcpy(&length, head->data(), sizeof length);
  const auto record = bytes(length);
  if (!record) return false;
  const std::string_view body = record->substr(1);
  switch (record->front()) {
    case kInput:
      sink.input(decoded<InputRecord>(body));
      break;
    case kConnection:
      sink.connection(decoded<ConnectionRecord>(body));
      break;
    case kMessage:
      sink.message(decoded<MessageRecord>(body));
      break;
    case kFinding:
      sink.finding(decoded<Finding>(body));
      break;
    case kGap:
      sink.gap(decoded<GapRecord>(body));
      break;
    default:
      end_ = decoded<WorkerEnd>(body);
  }
  return true;
}

}  // namespace qv::check
