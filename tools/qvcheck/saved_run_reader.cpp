#include "tools/qvcheck/saved_run_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/common/text_readings.h"
#include "tools/qvcheck/record_stream.h"

namespace qv::check {

namespace {

using JSON = nlohmann::ordered_json;

constexpr std::size_t kLongestLine = std::size_t{64} << 20;

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

// The fields of one object. What is missing, or null where something must be, or of another kind is
// remembered: `wrong` names the first.
class Fields {
 public:
  Fields(const JSON& object, std::string& wrong) : object_(object), wrong_(wrong) {}

  // Null when the key is missing or holds null.
  const JSON* value(const char* key) const {
    const auto found = object_.find(key);
    return found == object_.end() || found->is_null() ? nullptr : &*found;
  }
  std::optional<std::string> textOrNone(const char* key) const {
    const JSON* found = value(key);
    if (found == nullptr) return std::nullopt;
    if (found->is_string()) return found->get<std::string>();
    fail(key);
    return std::nullopt;
  }
  std::string textOrEmpty(const char* key) const { return textOrNone(key).value_or(""); }
  std::string text(const char* key) const { return needed(key, textOrNone(key)); }
  std::optional<std::size_t> numberOrNone(const char* key) const {
    const JSON* found = value(key);
    if (found == nullptr) return std::nullopt;
    if (found->is_number_unsigned()) return found->get<std::size_t>();
    fail(key);
    return std::nullopt;
  }
  std::size_t numberOrZero(const char* key) const { return numberOrNone(key).value_or(0); }
  std::size_t number(const char* key) const { return needed(key, numberOrNone(key)); }
  bool flag(const char* key) const {
    const JSON* found = value(key);
    if (found != nullptr && found->is_boolean()) return found->get<bool>();
    fail(key);
    return false;
  }
  std::string_view word(const char* key) const {
    const auto known = wordOfRecords(textOrEmpty(key));
    if (!known) fail(key);
    return known.value_or(std::string_view());
  }
  template <class Enum, std::size_t count>
  Enum named(const char* key, const Enum (&values)[count]) const {
    const std::string name = text(key);
    const auto* found =
        std::ranges::find_if(values, [&](Enum value) { return nameOf(value) == name; });
    if (found != std::end(values)) return *found;
    fail(key);
    return values[0];
  }
  // An object within this one, null when there is none.
  std::optional<Fields> inner(const char* key) const {
    const JSON* found = value(key);
    if (found == nullptr) return std::nullopt;
    if (found->is_object()) return Fields(*found, wrong_);
    fail(key);
    return std::nullopt;
  }
  std::map<std::string, std::size_t, std::less<>> counts(const char* key) const {
    std::map<std::string, std::size_t, std::less<>> counts;
    const auto object = inner(key);
    if (!object) return counts;
    for (const auto& [name, count] : object->object_.items()) {
      counts[name] = object->number(name.c_str());
    }
    return counts;
  }
  std::vector<std::string> texts(const char* key) const {
    const JSON* found = value(key);
    const bool isList =
        found != nullptr && found->is_array() &&
        std::ranges::all_of(*found, [](const JSON& one) { return one.is_string(); });
    if (isList) return found->get<std::vector<std::string>>();
    fail(key);
    return {};
  }
  void fail(const char* key) const {
    if (wrong_.empty()) wrong_ = key;
  }

 private:
  template <class T>
  T needed(const char* key, std::optional<T> value) const {
    if (!value) fail(key);
    return std::move(value).value_or(T());
  }

  const JSON& object_;
  std::string& wrong_;
};

RunRecord runOf(const Fields& fields) {
  RunRecord run;
  run.command = fields.text("command");
  run.toolVersion = fields.text("tool_version");
  const JSON* version = fields.value("library_version");
  if (version == nullptr || !version->is_number()) {
    fields.fail("library_version");
  } else {
    run.libraryVersion = version->get<double>();
  }
  const JSON* options = fields.value("options");
  if (options == nullptr || !options->is_object()) {
    fields.fail("options");
    return run;
  }
  for (const auto& [name, value] : options->items()) {
    for (const JSON& one : value.is_array() ? value : JSON::array({value})) {
      if (one.is_string()) {
        run.options.emplace_back(name, one.get<std::string>());
      } else {
        fields.fail("options");
      }
    }
  }
  return run;
}

ProfileRecord profileOf(const Fields& fields) {
  ProfileRecord profile;
  profile.file = fields.text("file");
  profile.accepted = fields.flag("accepted");
  profile.text = fields.textOrNone("text");
  profile.enums = fields.number("enums");
  profile.tlv8s = fields.number("tlv8s");
  profile.characteristics = fields.number("characteristics");
  profile.services = fields.number("services");
  return profile;
}

InputRecord inputOf(const Fields& fields) {
  InputRecord input;
  input.input = fields.number("input");
  input.name = fields.text("name");
  input.format = fields.text("format");
  input.fidelity = fields.text("fidelity");
  input.bytes = fields.number("bytes");
  input.complete = fields.flag("complete");
  input.lost = fields.texts("lost");
  return input;
}

ConnectionRecord connectionOf(const Fields& fields) {
  ConnectionRecord connection;
  connection.connection = fields.number("connection");
  connection.input = fields.number("input");
  connection.client = fields.textOrEmpty("client");
  connection.server = fields.textOrEmpty("server");
  connection.partialStart = fields.flag("partial_start");
  return connection;
}

MessageRecord messageOf(const Fields& fields) {
  constexpr Verdict kVerdicts[] = {Verdict::ok, Verdict::faulty, Verdict::unrecognised,
                                   Verdict::notJudged};
  MessageRecord message;
  message.message = fields.number("message");
  message.connection = fields.number("connection");
  message.direction = fields.word("direction");
  message.kind = fields.word("kind");
  message.className = fields.textOrEmpty("class");
  message.answers = fields.numberOrNone("answers");
  if (const auto time = fields.textOrNone("time_ns")) message.timeNs = integerReading(*time);
  message.part = fields.numberOrZero("part");
  message.partName = fields.word("part_name");
  message.method = fields.textOrEmpty("method");
  message.url = fields.textOrEmpty("url");
  message.code = fields.textOrNone("code");
  message.offset = fields.number("offset");
  message.headerLength = fields.number("header_length");
  message.bodyLength = fields.number("body_length");
  message.contentType = fields.textOrNone("content_type");
  message.verdict = fields.named("verdict", kVerdicts);
  message.reason = fields.textOrEmpty("reason");
  message.errorDescription = fields.textOrNone("error_description");
  return message;
}

Location locationOf(const Fields& fields) {
  Location location;
  location.input = fields.numberOrNone("input");
  location.name = fields.text("name");
  location.part = fields.word("part");
  location.byteOffset = fields.numberOrNone("byte_offset");
  location.byteLength = fields.numberOrNone("byte_length");
  location.tlv8Path = fields.textOrEmpty("tlv8_path");
  location.jsonPointer = fields.textOrNone("json_pointer");
  location.line = fields.numberOrZero("line");
  location.column = fields.numberOrZero("column");
  return location;
}

DefinitionPlace definitionOf(const Fields& fields) {
  DefinitionPlace definition;
  definition.kind = fields.text("kind");
  definition.name = fields.text("name");
  definition.uuid = fields.textOrNone("uuid");
  definition.file = fields.textOrEmpty("file");
  definition.line = fields.numberOrZero("line");
  return definition;
}

// A mark that begins beyond the bytes cannot be shown.
Excerpt excerptOf(const Fields& fields) {
  Excerpt excerpt;
  excerpt.offset = fields.number("offset");
  if (auto bytes = base64Decoded(fields.text("bytes_base64"))) {
    excerpt.bytes = *std::move(bytes);
  } else {
    fields.fail("bytes_base64");
  }
  excerpt.mark = {fields.number("mark_offset"), fields.number("mark_length")};
  if (excerpt.mark.offset > excerpt.bytes.size()) fields.fail("mark_offset");
  if (excerpt.mark.length > SIZE_MAX - excerpt.mark.offset) fields.fail("mark_length");
  excerpt.notShown = fields.number("not_shown");
  excerpt.asText = fields.flag("as_text");
  return excerpt;
}

Finding findingOf(const Fields& fields) {
  constexpr Severity kSeverities[] = {Severity::note, Severity::warning, Severity::error};
  Finding finding;
  finding.finding = fields.number("finding");
  finding.message = fields.numberOrNone("message");
  finding.rule = fields.text("rule");
  finding.severity = fields.named("severity", kSeverities);
  finding.fromTool = fields.text("origin") == "tool";
  finding.text = fields.text("text");
  if (const auto location = fields.inner("location")) finding.location = locationOf(*location);
  finding.expected = fields.textOrEmpty("expected");
  finding.actual = fields.textOrEmpty("actual");
  if (const auto place = fields.inner("definition")) finding.definition = definitionOf(*place);
  finding.hint = fields.textOrEmpty("hint");
  if (const auto excerpt = fields.inner("excerpt")) finding.excerpt = excerptOf(*excerpt);
  finding.markup = fields.textOrEmpty("markup");
  return finding;
}

GapRecord gapOf(const Fields& fields) {
  return {fields.number("connection"), fields.word("direction"), fields.number("offset"),
          fields.number("bytes")};
}

Summary summaryOf(const Fields& fields) {
  Summary summary;
  summary.messages = fields.number("messages");
  summary.judged = fields.number("judged");
  summary.faulty = fields.number("faulty");
  summary.notJudged = fields.counts("not_judged");
  summary.findings = fields.counts("findings");
  summary.leftOut = fields.number("findings_left_out");
  summary.ignored = fields.number("findings_ignored");
  summary.stoppedEarly = fields.flag("stopped_early");
  summary.complete = fields.flag("complete");
  summary.exit = static_cast<int>(std::min<std::size_t>(fields.number("exit"), UINT8_MAX));
  summary.verdict = fields.textOrEmpty("verdict");
  const JSON* outcomes = fields.value("outcomes");
  if (outcomes == nullptr || !outcomes->is_array()) {
    fields.fail("outcomes");
    return summary;
  }
  for (const JSON& outcome : *outcomes) {
    const bool small = outcome.is_number_unsigned() && outcome.get<std::size_t>() <= UINT8_MAX;
    const auto code = small ? exitCodeOf(outcome.get<int>()) : std::nullopt;
    if (code) {
      summary.outcomes.push_back(*code);
    } else {
      fields.fail("outcomes");
    }
  }
  return summary;
}

}  // namespace

SavedRunReader::SavedRunReader(std::shared_ptr<capture::ByteSource> source)
    : lines_(std::move(source), kLongestLine) {}

bool SavedRunReader::next(ReportSink& sink) {
  if (error_ || isWhole_) return false;
  const auto line = lines_.next();
  if (line) {
    line_ = line->number;
    take(*line, sink);
  } else if (const auto unread = lines_.source().error()) {
    error_ = fmt::format("line {}: {}", line_ + 1, *unread);
  } else {
    error_ = fmt::format("line {}: the run ends without its summary", line_ + 1);
  }
  if (error_) handOnMessage(sink);
  return !error_;
}

void SavedRunReader::handOnMessage(ReportSink& sink, const Finding* following) {
  if (!message_) return;
  if (following != nullptr) message_->inputName = following->location.name;
  sink.message(*message_);
  message_.reset();
}

void SavedRunReader::take(const capture::InputLine& line, ReportSink& sink) {
  const auto refuse = [&](std::string_view what) {
    error_ = fmt::format("line {}: {}", line.number, what);
  };
  if (line.tooLong) return refuse("it is too long for a record");
  const JSON json = valueIn(line.bytes);
  if (!json.is_object()) return refuse("this is no JSON object");
  std::string wrong;
  const Fields fields(json, wrong);
  const std::string type = fields.text("type");
  if ((line.number == 1) != (type == "run")) {
    return refuse(line.number == 1 ? "a saved run begins with its run record"
                                   : "another run begins");
  }
  const auto handOn = [&]<class R>(const R& record, void (ReportSink::*to)(const R&)) {
    if (!wrong.empty()) return refuse(fmt::format("the {} record is wrong at '{}'", type, wrong));
    (sink.*to)(record);
  };
  if (type == "message") {
    MessageRecord message = messageOf(fields);
    handOnMessage(sink);
    if (!wrong.empty()) return refuse(fmt::format("the message record is wrong at '{}'", wrong));
    message_ = std::move(message);
    return;
  }
  if (type == "finding") {
    const Finding finding = findingOf(fields);
    const bool ofMessage = message_ && finding.message == message_->message && wrong.empty();
    handOnMessage(sink, ofMessage ? &finding : nullptr);
    return handOn(finding, &ReportSink::finding);
  }
  handOnMessage(sink);
  if (type == "run") {
    const std::string schema = fields.text("schema");
    if (schema != "qv.run/1")
      return refuse(fmt::format("its schema is '{}', not qv.run/1", schema));
    const RunRecord run = runOf(fields);
    for (const auto& [name, value] : run.options) {
      if (name == "max-findings") mostFindings_ = static_cast<std::size_t>(integerReading(value));
    }
    handOn(run, &ReportSink::run);
  } else if (type == "profile") {
    handOn(profileOf(fields), &ReportSink::profile);
  } else if (type == "input") {
    handOn(inputOf(fields), &ReportSink::input);
  } else if (type == "connection") {
    handOn(connectionOf(fields), &ReportSink::connection);
  } else if (type == "gap") {
    handOn(gapOf(fields), &ReportSink::gap);
  } else if (type == "summary") {
    Summary summary = summaryOf(fields);
    summary.mostFindings = mostFindings_;
    handOn(summary, &ReportSink::summary);
    isWhole_ = wrong.empty();
  }
}

}  // namespace qv::check
