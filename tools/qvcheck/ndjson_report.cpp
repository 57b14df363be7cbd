#include "tools/qvcheck/ndjson_report.h"

#include <concepts>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/common/version.h"
#include "tools/qvcheck/report_fields.h"

namespace qv::check {

namespace {

using JSON = nlohmann::ordered_json;

// File names and captured bytes may be no UTF-8; the line is valid JSON all the same.
void write(std::ostream& out, const JSON& record) {
  out << record.dump(-1, ' ', false, JSON::error_handler_t::replace) << '\n';
}

// Puts fields into an object.
struct ObjectWriter {
  JSON& object;

  template <class T>
  void operator()(const char* key, const T& field) {
    object[key] = form(field);
  }

 private:
  template <class T>
  requires std::integral<T> || std::convertible_to<T, std::string_view>
  static JSON form(const T& value) { return value; }
  static JSON form(Severity severity) { return nameOf(severity); }
  static JSON form(Verdict verdict) { return nameOf(verdict); }
  static JSON form(const std::vector<std::string>& texts) { return texts; }
  static JSON form(const Bytes& bytes) {
    std::string text;
    appendBase64(text, bytes);
    return text;
  }
  static JSON form(const Summary::Counts& counts) {
    JSON json = JSON::object();
    for (const auto& [name, count] : counts) json[name] = count;
    return json;
  }
  static JSON form(const std::vector<ExitCode>& outcomes) {
    JSON json = JSON::array();
    for (const ExitCode code : outcomes) json.push_back(static_cast<int>(code));
    return json;
  }
  template <class T>
  static JSON form(const std::optional<T>& value) {
    return value ? form(*value) : JSON();
  }
  template <class T>
  static JSON form(const OrNull<T>& field) {
    return field.isNull ? JSON() : form(field.value);
  }
  template <class T>
  static JSON form(const Origin<T>& origin) {
    return origin.fromTool ? "tool" : "library";
  }
  template <class T>
  static JSON form(const AsText<T>& field) {
    return field.number ? JSON(std::to_string(*field.number)) : JSON();
  }
  template <class Record>
  static JSON form(const Record& record) {
    JSON json;
    ObjectWriter writer{json};
    fields(writer, record);
    return json;
  }
};

template <class Record>
void write(std::ostream& out, const char* type, const Record& record) {
  JSON line;
  line["type"] = type;
  ObjectWriter writer{line};
  fields(writer, record);
  write(out, line);
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
  write(out_, "profile", record);
}
void NDJSONReport::input(const InputRecord& record) {
  write(out_, "input", record);
}
void NDJSONReport::connection(const ConnectionRecord& record) {
  write(out_, "connection", record);
}
void NDJSONReport::message(const MessageRecord& record) {
  write(out_, "message", record);
}
void NDJSONReport::finding(const Finding& record) {
  write(out_, "finding", record);
}
void NDJSONReport::gap(const GapRecord& record) {
  write(out_, "gap", record);
}
void NDJSONReport::summary(const Summary& record) {
  write(out_, "summary", record);
}

}  // namespace qv::check
