#include "tools/qvcheck/text_report.h"

#include <fmt/format.h>

#include <iterator>

#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/excerpt.h"

namespace qv::check {

namespace {

constexpr std::string_view kBold = "\x1B[1m";
constexpr std::string_view kRed = "\x1B[1;31m";
constexpr std::string_view kYellow = "\x1B[1;33m";
constexpr std::string_view kBlue = "\x1B[1;34m";
constexpr std::string_view kReset = "\x1B[0m";

std::string_view colorOf(Severity severity) {
  constexpr std::string_view kColors[] = {kBlue, kYellow, kRed};
  return kColors[static_cast<std::size_t>(severity)];
}

std::string place(const Location& location) {
  std::string text = escaped(location.name);
  if (location.line > 0) return fmt::format("{}:{}:{}", text, location.line, location.column);
  return fmt::format("{}:{}", text, location.byteOffset.value_or(0));
}

std::string what(const MessageRecord& record) {
  const std::string target = escapedShort(record.method + " " + record.url);
  if (record.kind == "request") {
    return fmt::format("request {} (connection {})", target, record.connection);
  }
  if (record.kind == "event")
    return fmt::format("event notification (connection {})", record.connection);
  if (record.answers) {
    return fmt::format("response to {} (message {}, connection {})", target, *record.answers,
                       record.connection);
  }
  return fmt::format("{} (connection {})",
                     record.kind == "response" ? "response to an unknown request" : "message",
                     record.connection);
}

std::string counted(std::size_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

}  // namespace

std::string TextReport::painted(std::string_view text, std::string_view color) const {
  if (!style_.color) return std::string(text);
  return fmt::format("{}{}{}", color, text, kReset);
}

std::string TextReport::severityAndRule(const Finding& record) const {
  return painted(fmt::format("{}[{}]", nameOf(record.severity), record.rule),
                 colorOf(record.severity));
}

void TextReport::profile(const ProfileRecord& record) {
  if (style_.quiet || style_.judging || !record.accepted) return;
  out_ << fmt::format("{}: accepted: {}, {}, {}, {}\n", escaped(record.file),
                      counted(record.enums, "enum"), counted(record.tlv8s, "TLV8 structure"),
                      counted(record.characteristics, "characteristic"),
                      counted(record.services, "service"));
}

void TextReport::message(const MessageRecord& record) {
  messageOffset_ = record.offset;
  messageLine_ = fmt::format("{}:{}: message {}, {}\n", escaped(record.inputName), record.offset,
                             record.message, what(record));
}

void TextReport::finding(const Finding& record) {
  if (style_.quiet) {
    out_ << fmt::format("{}: {}[{}]: {}\n", place(record.location), nameOf(record.severity),
                        record.rule, escaped(record.text));
    return;
  }
  const bool ownsBlock = !record.message;
  if (ownsBlock || !messageLine_.empty()) {
    if (wroteBlock_) out_ << '\n';
    wroteBlock_ = true;
    if (ownsBlock) {
      out_ << painted(place(record.location) + ":", kBold) << ' ' << severityAndRule(record) << ": "
           << escaped(record.text) << '\n';
    } else {
      out_ << painted(messageLine_.substr(0, messageLine_.size() - 1), kBold) << '\n';
    }
    messageLine_.clear();
  }
  if (!ownsBlock) out_ << "  " << severityAndRule(record) << ": " << escaped(record.text) << '\n';
  details(record);
}

void TextReport::details(const Finding& record) {
  constexpr std::string_view kIndent = "      ";
  if (!record.location.tlv8Path.empty()) {
    out_ << kIndent << "at TLV8 field " << record.location.tlv8Path << '\n';
  }
  if (!record.markup.empty()) out_ << kIndent << escaped(record.markup) << '\n';
  if (!record.excerpt && record.message && record.location.byteOffset &&
      record.location.byteOffset != messageOffset_) {
    out_ << kIndent << "at byte " << *record.location.byteOffset << '\n';
  }
  if (record.excerpt) {
    for (const std::string& line : renderedLines(*record.excerpt)) {
      const bool carets = line.find_first_not_of(" ^") == std::string::npos;
      out_ << kIndent << (carets ? painted(line, colorOf(record.severity)) : line) << '\n';
    }
  }
  if (!record.expected.empty()) out_ << kIndent << "expected: " << escaped(record.expected) << '\n';
  if (!record.actual.empty())
    out_ << kIndent << "actual:   " << escapedShort(record.actual) << '\n';
  if (record.definition) {
    const DefinitionPlace& definition = *record.definition;
    out_ << kIndent
         << fmt::format("defined:  {} '{}' ({}:{})\n", definition.kind, escaped(definition.name),
                        escaped(definition.file), definition.line);
  }
  if (!record.hint.empty()) out_ << kIndent << "hint:     " << escaped(record.hint) << '\n';
}

void TextReport::summary(const Summary& record) {
  if (style_.quiet) return;
  if (wroteBlock_) out_ << '\n';
  if (style_.judging) {
    out_ << fmt::format("checked {} of {}: {} faulty, {} without fault", record.judged,
                        counted(record.messages, "message"), record.faulty,
                        record.judged - record.faulty);
    const std::size_t left = record.messages - record.judged;
    if (left > 0) {
      std::string reasons;
      for (const auto& [reason, count] : record.notJudged) {
        fmt::format_to(std::back_inserter(reasons), "{}{} {}", reasons.empty() ? "" : ", ", count,
                       reason);
      }
      out_ << fmt::format("; {} not judged ({})", left, reasons);
    }
    out_ << '\n';
  }
  std::string meanings;
  for (const ExitCode code : record.outcomes) {
    fmt::format_to(std::back_inserter(meanings), "{}{} ({})", meanings.empty() ? "" : ", also ",
                   static_cast<int>(code), meaningOf(code));
  }
  if (record.exit >= 128) {
    out_ << fmt::format("exit {} (ended by signal {}); otherwise {}\n", record.exit,
                        record.exit - 128, meanings);
  } else {
    out_ << "exit " << meanings << '\n';
  }
}

}  // namespace qv::check
