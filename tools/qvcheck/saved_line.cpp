#include "tools/qvcheck/saved_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <concepts>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/common/text_readings.h"
#include "tools/qvcheck/report_fields.h"

namespace qv::check {

namespace {

using JSON = nlohmann::ordered_json;

// The value in a line; discarded when it is no JSON. What no record holds, deep nesting and very
// many values, is read over without being kept.
JSON valueIn(ByteView line) {
  constexpr int kDeepest = 4;
  constexpr std::size_t kMostValues = 4'000'000;
  std::size_t values = 0;
  const JSON::parser_callback_t keeps = [&](int depth, JSON::parse_event_t, const JSON&) {
    return depth <= kDeepest && ++values <= kMostValues;
  };
  return JSON::parse(line.begin(), line.end(), keeps, false);
}

// Empty for none.
std::string textUnder(const JSON& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

// Reads fields out of an object. What is missing, or null where something must be, or of another
// kind is remembered: `wrong` names the first.
class ObjectReader {
 public:
  ObjectReader(const JSON& object, std::string& wrong) : object_(object), wrong_(wrong) {}

  template <class Field>
  void operator()(const char* key, Field&& field) {
    read(key, field);
  }

  // Null when the key is missing or holds null.
  const JSON* value(const char* key) const {
    const auto found = object_.find(key);
    return found == object_.end() || found->is_null() ? nullptr : &*found;
  }
  void fail(const char* key) {
    if (wrong_.empty()) wrong_ = key;
  }

 private:
  void read(const char* key, std::string& text) { need(key, text); }
  template <std::unsigned_integral Number>
  void read(const char* key, Number& number) {
    need(key, number);
  }
  void read(const char* key, std::optional<std::string>& text) {
    const JSON* found = value(key);
    if (found == nullptr) return;
    if (!found->is_string()) return fail(key);
    text = found->get<std::string>();
  }
  template <std::unsigned_integral Number>
  void read(const char* key, std::optional<Number>& number) {
    const JSON* found = value(key);
    if (found == nullptr) return;
    if (!found->is_number_unsigned()) return fail(key);
    number = found->get<Number>();
  }
  void read(const char* key, bool& flag) {
    const JSON* found = value(key);
    if (found == nullptr || !found->is_boolean()) return fail(key);
    flag = found->get<bool>();
  }
  void read(const char* key, std::string_view& word) {
    std::optional<std::string> text;
    read(key, text);
    const auto known = wordOfRecords(text.value_or(""));
    if (!known) return fail(key);
    word = *known;
  }
  template <class T>
  void read(const char* key, OrNull<T>& field) {
    if (value(key) != nullptr) read(key, field.value);
  }
  template <class T>
  void read(const char* key, Origin<T>& origin) {
    std::string text;
    need(key, text);
    origin.fromTool = text == "tool";
  }
  template <class T>
  void read(const char* key, AsText<T>& field) {
    std::optional<std::string> text;
    read(key, text);
    if (text) field.number = integerReading(*text);
  }
  void read(const char* key, Severity& severity) { readNamed(key, severity, severityNamed); }
  void read(const char* key, Verdict& verdict) { readNamed(key, verdict, verdictNamed); }
  void read(const char* key, std::vector<std::string>& texts) {
    const JSON* found = value(key);
    const bool isList =
        found != nullptr && found->is_array() &&
        std::ranges::all_of(*found, [](const JSON& one) { return one.is_string(); });
    if (!isList) return fail(key);
    texts = found->get<std::vector<std::string>>();
  }
  void read(const char* key, Bytes& bytes) {
    std::string text;
    need(key, text);
    auto decoded = base64Decoded(text);
    if (!decoded) return fail(key);
    bytes = *std::move(decoded);
  }
  void read(const char* key, Summary::Counts& counts) {
    const JSON* found = objectUnder(key);
    if (found == nullptr) return;
    ObjectReader reader(*found, wrong_);
    for (const auto& [name, count] : found->items()) reader.read(name.c_str(), counts[name]);
  }
  void read(const char* key, int& exit) {
    std::size_t number = 0;
    need(key, number);
    exit = static_cast<int>(std::min<std::size_t>(number, UINT8_MAX));
  }
  void read(const char* key, std::vector<ExitCode>& outcomes) {
    const JSON* found = value(key);
    if (found == nullptr || !found->is_array()) return fail(key);
    for (const JSON& outcome : *found) {
      const bool small = outcome.is_number_unsigned() && outcome.get<std::size_t>() <= UINT8_MAX;
      const auto code = small ? exitCodeOf(outcome.get<int>()) : std::nullopt;
      if (!code) return fail(key);
      outcomes.push_back(*code);
    }
  }
  void read(const char* key, Location& location) {
    if (const JSON* found = objectUnder(key)) readInto(location, *found);
  }
  void read(const char* key, std::optional<DefinitionPlace>& place) {
    if (const JSON* found = objectUnder(key)) readInto(place.emplace(), *found);
  }
  // A mark that begins beyond the bytes cannot be shown.
  void read(const char* key, std::optional<Excerpt>& excerpt) {
    const JSON* found = objectUnder(key);
    if (found == nullptr) return;
    readInto(excerpt.emplace(), *found);
    const ByteRange mark = excerpt->mark;
    if (mark.offset > excerpt->bytes.size()) fail("mark_offset");
    if (mark.length > SIZE_MAX - mark.offset) fail("mark_length");
  }

  template <class T>
  void need(const char* key, T& field) {
    std::optional<T> found;
    read(key, found);
    if (!found) return fail(key);
    field = *std::move(found);
  }
  template <class T>
  void readNamed(const char* key, T& field, std::optional<T> (*named)(std::string_view)) {
    std::string name;
    need(key, name);
    const auto known = named(name);
    if (!known) return fail(key);
    field = *known;
  }
  // Null when there is none.
  const JSON* objectUnder(const char* key) {
    const JSON* found = value(key);
    if (found == nullptr || found->is_object()) return found;
    fail(key);
    return nullptr;
  }
  template <class Record>
  void readInto(Record& record, const JSON& object) {
    ObjectReader reader(object, wrong_);
    fields(reader, record);
  }

  const JSON& object_;
  std::string& wrong_;
};

void fields(ObjectReader& reader, RunRecord& run) {
  reader("command", run.command);
  reader("tool_version", run.toolVersion.emplace());
  const JSON* version = reader.value("library_version");
  if (version == nullptr || !version->is_number()) return reader.fail("library_version");
  run.libraryVersion = version->get<double>();
  const JSON* options = reader.value("options");
  if (options == nullptr || !options->is_object()) return reader.fail("options");
  for (const auto& [name, value] : options->items()) {
    for (const JSON& one : value.is_array() ? value : JSON::array({value})) {
      if (!one.is_string()) return reader.fail("options");
      run.options.emplace_back(name, one.get<std::string>());
    }
  }
}

}  // namespace

SavedLine::SavedLine(ByteView line) : json_(valueIn(line)) {
  if (isObject()) type_ = textUnder(json_, "type");
}

template <class Record>
std::optional<SavedRecord> SavedLine::read(ErrorSlot errorDescription) const {
  Record record;
  std::string wrong;
  ObjectReader reader(json_, wrong);
  fields(reader, record);
  if (wrong.empty()) return record;
  return fail(errorDescription, fmt::format("the {} record is wrong at '{}'", type_, wrong));
}

std::optional<SavedRecord> SavedLine::record(ErrorSlot errorDescription) const {
  struct Row {
    std::string_view type;
    std::optional<SavedRecord> (SavedLine::*read)(ErrorSlot) const;
  };
  constexpr Row kRows[] = {
      {"run", &SavedLine::read<RunRecord>},
      {"profile", &SavedLine::read<ProfileRecord>},
      {"input", &SavedLine::read<InputRecord>},
      {"connection", &SavedLine::read<ConnectionRecord>},
      {"message", &SavedLine::read<MessageRecord>},
      {"finding", &SavedLine::read<Finding>},
      {"gap", &SavedLine::read<GapRecord>},
      {"summary", &SavedLine::read<Summary>},
  };
  if (type_ == "run") {
    const std::string schema = textUnder(json_, "schema");
    if (schema != "qv.run/1") {
      return fail(errorDescription, fmt::format("its schema is '{}', not qv.run/1", schema));
    }
  }
  const auto* row = std::ranges::find(kRows, type_, &Row::type);
  if (row == std::end(kRows)) return SavedRecord();
  return (this->*row->read)(errorDescription);
}

}  // namespace qv::check
