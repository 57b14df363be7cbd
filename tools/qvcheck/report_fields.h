#pragma once

// The fields of the records of a run as its lines have them ("qv.run/1"), each record listed once
// for all that write and read it: `fields(visitor, record)` calls `visitor(key, field)` in the
// order of the line. A field is the member, or one of the forms below around it.

#include <concepts>
#include <type_traits>

#include "tools/qvcheck/report.h"

namespace qv::check {

template <class R, class Record>
concept Is = std::same_as<std::remove_const_t<R>, Record>;

// A member that is null in the line where it says nothing.
template <class T>
struct OrNull {
  T& value;
  bool isNull;
};
template <class T>
OrNull<T> nullIf(bool isNull, T& value) {
  return {value, isNull};
}
template <class T>
OrNull<T> orNull(T& value) {
  return {value, value == T{}};
}

// Whether a finding is the tool's: "tool" or "library".
template <class T>
struct Origin {
  T& fromTool;
};
template <class T>
Origin<T> origin(T& fromTool) {
  return {fromTool};
}

// A number as a text, because it is beyond 2^53.
template <class T>
struct AsText {
  T& number;
};
template <class T>
AsText<T> asText(T& number) {
  return {number};
}

template <class F, Is<ProfileRecord> R>
void fields(F& f, R& r) {
  f("file", r.file);
  f("accepted", r.accepted);
  f("text", r.text);
  f("enums", r.enums);
  f("tlv8s", r.tlv8s);
  f("characteristics", r.characteristics);
  f("services", r.services);
}

template <class F, Is<InputRecord> R>
void fields(F& f, R& r) {
  f("input", r.input);
  f("name", r.name);
  f("format", orNull(r.format));
  f("fidelity", r.fidelity);
  f("bytes", r.bytes);
  f("complete", r.complete);
  f("lost", r.lost);
}

template <class F, Is<ConnectionRecord> R>
void fields(F& f, R& r) {
  f("connection", r.connection);
  f("input", r.input);
  f("client", orNull(r.client));
  f("server", orNull(r.server));
  f("partial_start", r.partialStart);
}

// Without `inputName`, which the findings of the message tell.
template <class F, Is<MessageRecord> R>
void fields(F& f, R& r) {
  f("message", r.message);
  f("connection", r.connection);
  f("direction", r.direction);
  f("kind", r.kind);
  f("class", orNull(r.className));
  f("answers", r.answers);
  f("time_ns", asText(r.timeNs));
  f("part", orNull(r.part));
  f("part_name", nullIf(r.part == 0 || r.partName.empty(), r.partName));
  f("method", orNull(r.method));
  f("url", orNull(r.url));
  f("code", r.code);
  f("offset", r.offset);
  f("header_length", r.headerLength);
  f("body_length", r.bodyLength);
  f("content_type", r.contentType);
  f("verdict", r.verdict);
  f("reason", orNull(r.reason));
  f("error_description", r.errorDescription);
}

template <class F, Is<Location> R>
void fields(F& f, R& r) {
  f("input", r.input);
  f("name", r.name);
  f("part", orNull(r.part));
  f("byte_offset", r.byteOffset);
  f("byte_length", r.byteLength);
  f("json_pointer", r.jsonPointer);
  f("tlv8_path", orNull(r.tlv8Path));
  f("line", orNull(r.line));
  f("column", nullIf(r.line == 0, r.column));
}

template <class F, Is<DefinitionPlace> R>
void fields(F& f, R& r) {
  f("kind", r.kind);
  f("name", r.name);
  f("uuid", r.uuid);
  f("file", orNull(r.file));
  f("line", nullIf(r.file.empty(), r.line));
}

template <class F, Is<Excerpt> R>
void fields(F& f, R& r) {
  f("offset", r.offset);
  f("bytes_base64", r.bytes);
  f("mark_offset", r.mark.offset);
  f("mark_length", r.mark.length);
  f("not_shown", r.notShown);
  f("as_text", r.asText);
}

template <class F, Is<Finding> R>
void fields(F& f, R& r) {
  f("finding", r.finding);
  f("message", r.message);
  f("rule", r.rule);
  f("severity", r.severity);
  f("origin", origin(r.fromTool));
  f("text", r.text);
  f("location", r.location);
  f("expected", orNull(r.expected));
  f("actual", orNull(r.actual));
  f("definition", r.definition);
  f("hint", orNull(r.hint));
  f("excerpt", r.excerpt);
  f("markup", orNull(r.markup));
}

template <class F, Is<GapRecord> R>
void fields(F& f, R& r) {
  f("connection", r.connection);
  f("direction", r.direction);
  f("offset", r.offset);
  f("bytes", r.bytes);
}

// Without the limit of the findings, which is an option of the run, and the advice.
template <class F, Is<Summary> R>
void fields(F& f, R& r) {
  f("messages", r.messages);
  f("judged", r.judged);
  f("faulty", r.faulty);
  f("not_judged", r.notJudged);
  f("findings", r.findings);
  f("findings_left_out", r.leftOut);
  f("findings_ignored", r.ignored);
  f("stopped_early", r.stoppedEarly);
  f("complete", r.complete);
  f("verdict", orNull(r.verdict));
  f("exit", r.exit);
  f("outcomes", r.outcomes);
}

}  // namespace qv::check
