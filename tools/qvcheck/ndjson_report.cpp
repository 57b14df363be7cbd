#include "tools/qvcheck/ndjson_report.h"

#include <nlohmann/json.hpp>
#include <string>

#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/common/version.h"

namespace qv::check {

namespace {

using JSON = nlohmann::ordered_json;

template <class T>
JSON orNull(const std::optional<T>& value) {
  return value ? JSON(*value) : JSON();
}

JSON orNull(std::string_view text) {
  return text.empty() ? JSON() : JSON(text);
}

// File names and captured bytes may be no UTF-8; the line is valid JSON all the same.
void write(std::ostream& out, const JSON& record) {
  out << record.dump(-1, ' ', false, JSON::error_handler_t::replace) << '\n';
}

JSON locationJSON(const Location& location) {
  JSON json;
  json["input"] = orNull(location.input);
  json["name"] = location.name;
  json["part"] = orNull(location.part);
  json["byte_offset"] = orNull(location.byteOffset);
  json["byte_length"] = orNull(location.byteLength);
  json["json_pointer"] = orNull(location.jsonPointer);
  json["tlv8_path"] = orNull(location.tlv8Path);
  json["line"] = location.line > 0 ? JSON(location.line) : JSON();
  json["column"] = location.line > 0 ? JSON(location.column) : JSON();
  return json;
}

JSON definitionJSON(const std::optional<DefinitionPlace>& definition) {
  if (!definition) return {};
  JSON json;
  json["kind"] = definition->kind;
  json["name"] = definition->name;
  json["uuid"] = orNull(definition->uuid);
  json["file"] = orNull(definition->file);
  json["line"] = definition->file.empty() ? JSON() : JSON(definition->line);
  return json;
}

JSON excerptJSON(const std::optional<Excerpt>& excerpt) {
  if (!excerpt) return {};
  std::string bytes;
  appendBase64(bytes, excerpt->bytes);
  JSON json;
  json["offset"] = excerpt->offset;
  json["bytes_base64"] = std::move(bytes);
  json["mark_offset"] = excerpt->mark.offset;
  json["mark_length"] = excerpt->mark.length;
  json["not_shown"] = excerpt->notShown;
  json["as_text"] = excerpt->asText;
  return json;
}

}  // namespace

void NDJSONReport::run(const RunRecord& record) {
  JSON json;
  json["type"] = "run";
  json["schema"] = "qv.run/1";
  json["tool"] = "qvcheck";
  json["tool_version"] = record.toolVersion.value_or(QVCHECK_VERSION);
  json["library_version"] = record.libraryVersion.value_or(QVParserSupportVersionNumber);
  json["command"] = record.command;
  JSON options = JSON::object();
  for (const auto& [name, value] : record.options) {
    // A repeatable option is an array from its second value on, so that no key is repeated.
    if (!options.contains(name)) {
      options[name] = value;
    } else if (options[name].is_array()) {
      options[name].push_back(value);
    } else {
      options[name] = JSON::array({options[name], value});
    }
  }
  json["options"] = std::move(options);
  write(out_, json);
}

void NDJSONReport::profile(const ProfileRecord& record) {
  JSON json;
  json["type"] = "profile";
  json["file"] = record.file;
  json["accepted"] = record.accepted;
  json["text"] = orNull(record.text);
  json["enums"] = record.enums;
  json["tlv8s"] = record.tlv8s;
  json["characteristics"] = record.characteristics;
  json["services"] = record.services;
  write(out_, json);
}

void NDJSONReport::input(const InputRecord& record) {
  JSON json;
  json["type"] = "input";
  json["input"] = record.input;
  json["name"] = record.name;
  json["format"] = record.format;
  json["fidelity"] = record.fidelity;
  json["bytes"] = record.bytes;
  json["complete"] = record.complete;
  json["lost"] = record.lost;
  write(out_, json);
}

void NDJSONReport::connection(const ConnectionRecord& record) {
  JSON json;
  json["type"] = "connection";
  json["connection"] = record.connection;
  json["input"] = record.input;
  json["client"] = orNull(record.client);
  json["server"] = orNull(record.server);
  json["partial_start"] = record.partialStart;
  write(out_, json);
}

void NDJSONReport::message(const MessageRecord& record) {
  JSON json;
  json["type"] = "message";
  json["message"] = record.message;
  json["connection"] = record.connection;
  json["direction"] = record.direction;
  json["kind"] = record.kind;
  json["class"] = orNull(record.className);
  json["answers"] = orNull(record.answers);
  // As a text, because it is beyond 2^53.
  json["time_ns"] = record.timeNs ? JSON(std::to_string(*record.timeNs)) : JSON();
  json["part"] = record.part > 0 ? JSON(record.part) : JSON();
  json["part_name"] = record.part > 0 ? orNull(record.partName) : JSON();
  json["method"] = orNull(record.method);
  json["url"] = orNull(record.url);
  json["code"] = orNull(record.code);
  json["offset"] = record.offset;
  json["header_length"] = record.headerLength;
  json["body_length"] = record.bodyLength;
  json["content_type"] = orNull(record.contentType);
  json["verdict"] = nameOf(record.verdict);
  json["reason"] = orNull(record.reason);
  json["error_description"] = orNull(record.errorDescription);
  write(out_, json);
}

void NDJSONReport::finding(const Finding& record) {
  JSON json;
  json["type"] = "finding";
  json["finding"] = record.finding;
  json["message"] = orNull(record.message);
  json["rule"] = record.rule;
  json["severity"] = nameOf(record.severity);
  json["origin"] = record.fromTool ? "tool" : "library";
  json["text"] = record.text;
  json["location"] = locationJSON(record.location);
  json["expected"] = orNull(record.expected);
  json["actual"] = orNull(record.actual);
  json["definition"] = definitionJSON(record.definition);
  json["hint"] = orNull(record.hint);
  json["excerpt"] = excerptJSON(record.excerpt);
  json["markup"] = orNull(record.markup);
  write(out_, json);
}

void NDJSONReport::gap(const GapRecord& record) {
  JSON json;
  json["type"] = "gap";
  json["connection"] = record.connection;
  json["direction"] = record.direction;
  json["offset"] = record.offset;
  json["bytes"] = record.bytes;
  write(out_, json);
}

void NDJSONReport::summary(const Summary& record) {
  JSON json;
  json["type"] = "summary";
  json["messages"] = record.messages;
  json["judged"] = record.judged;
  json["faulty"] = record.faulty;
  json["not_judged"] = JSON::object();
  for (const auto& [reason, count] : record.notJudged) json["not_judged"][reason] = count;
  json["findings"] = JSON::object();
  for (const auto& [rule, count] : record.findings) json["findings"][rule] = count;
  json["findings_left_out"] = record.leftOut;
  json["findings_ignored"] = record.ignored;
  json["stopped_early"] = record.stoppedEarly;
  json["complete"] = record.complete;
  json["verdict"] = orNull(record.verdict);
  json["exit"] = record.exit;
  json["outcomes"] = JSON::array();
  for (const ExitCode code : record.outcomes) json["outcomes"].push_back(static_cast<int>(code));
  write(out_, json);
}

}  // namespace qv::check
