#include "tools/qvcheck/text_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/excerpt.h"
#include "tools/qvcheck/report_texts.h"

namespace qv::check {

namespace {

Shade shadeOf(Severity severity) {
  constexpr Shade kShades[] = {Shade::blue, Shade::yellow, Shade::red};
  return kShades[static_cast<std::size_t>(severity)];
}

std::string place(const Location& location) {
  std::string text = escaped(location.name);
  if (location.line > 0) return fmt::format("{}:{}:{}", text, location.line, location.column);
  return fmt::format("{}:{}", text, location.byteOffset.value_or(0));
}

std::string_view meaningIn(const Summary& record, ExitCode code) {
  const bool noFindings = record.findings.empty() && record.ignored == 0;
  return code == ExitCode::clean && noFindings ? "no findings" : meaningOf(code);
}

}  // namespace

std::string TextReport::severityAndRule(const Finding& record) const {
  return ink_(shadeOf(record.severity),
              fmt::format("{}[{}]", nameOf(record.severity), record.rule));
}

void TextReport::profile(const ProfileRecord& record) {
  if (style_.quiet || style_.judging || !record.accepted) return;
  out_ << fmt::format("{}: accepted: {}, {}, {}, {}\n", escaped(record.file),
                      counted(record.enums, "enum"), counted(record.tlv8s, "TLV8 structure"),
                      counted(record.characteristics, "characteristic"),
                      counted(record.services, "service"));
}

void TextReport::separate(bool block) {
  if (wroteBlock_ && (block || blockIsLast_)) out_ << '\n';
  wroteBlock_ = true;
  blockIsLast_ = block;
}

void TextReport::connection(const ConnectionRecord& record) {
  if (!style_.verbose) return;
  closeBlock();
  separate(false);
  out_ << fmt::format("connection {} of input {}", record.connection, record.input);
  if (!record.client.empty()) {
    out_ << fmt::format(": {} to {}", escaped(record.client), escaped(record.server));
  }
  out_ << (record.partialStart ? ", there before the capture began\n" : "\n");
}

// The message's text, where no finding of its block said it.
void TextReport::closeBlock() {
  if (messageText_ && !headingDue_ && !style_.quiet) {
    out_ << "  message text: " << escaped(*messageText_) << '\n';
  }
  messageText_.reset();
  if (!style_.verbose || !headingDue_) return;
  headingDue_ = false;
  separate(false);
  out_ << headingOf(message_) << ": "
       << (message_.reason.empty() ? std::string(nameOf(message_.verdict))
                                   : "not judged, " + message_.reason)
       << '\n';
}

void TextReport::input(const InputRecord& record) {
  if (style_.verbose) {
    closeBlock();
    separate(false);
    out_ << fmt::format("{}: {}, {}, {}, {}\n", escaped(record.name),
                        record.format.empty() ? "unknown form" : record.format, record.fidelity,
                        counted(record.bytes, "byte"), record.complete ? "complete" : "incomplete");
  }
  if (record.lost.empty()) return;
  const std::string_view form = record.format == "har" ? "HTTP archive; " : "";
  losses_ += fmt::format("{}: {}{}\n", escaped(record.name), form, fmt::join(record.lost, ", "));
}

void TextReport::message(const MessageRecord& record) {
  closeBlock();
  messageText_ = record.errorDescription;
  message_ = record;
  headingDue_ = true;
}

void TextReport::finding(const Finding& record) {
  if (style_.quiet) {
    out_ << fmt::format("{}: {}[{}]: {}\n", place(record.location), nameOf(record.severity),
                        record.rule, escaped(record.text));
    return;
  }
  const bool ownsBlock = !record.message;
  if (ownsBlock) closeBlock();
  if (!record.fromTool && messageText_ == record.text) messageText_.reset();
  if (ownsBlock || headingDue_) {
    separate(true);
    if (ownsBlock) {
      out_ << ink_(Shade::bold, place(record.location) + ":") << ' ' << severityAndRule(record)
           << ": " << escaped(record.text) << '\n';
    } else {
      out_ << ink_(Shade::bold, headingOf(message_)) << '\n';
    }
    headingDue_ = false;
  }
  if (!ownsBlock) out_ << "  " << severityAndRule(record) << ": " << escaped(record.text) << '\n';
  details(record);
}

// Whether the finding before this one concerned the same value.
bool TextReport::isShownAbove(const Finding& record) {
  const Location& location = record.location;
  std::optional<PlaceShown> place;
  if (location.jsonPointer && record.message && record.excerpt) {
    place = PlaceShown{*record.message, *location.jsonPointer, location.byteOffset.value_or(0)};
  }
  const bool isShown = place && place == placeShown_;
  placeShown_ = std::move(place);
  return isShown;
}

void TextReport::details(const Finding& record) {
  constexpr std::string_view kIndent = "      ";
  constexpr std::size_t kColumns = 80;
  if (!record.location.tlv8Path.empty()) {
    out_ << kIndent << "at TLV8 field " << record.location.tlv8Path << '\n';
  }
  const bool isShown = isShownAbove(record);
  if (const auto& pointer = record.location.jsonPointer) {
    out_ << kIndent << "at " << (pointer->empty() ? "the whole body" : escapedShort(*pointer))
         << (isShown ? ", shown above" : "") << '\n';
  }
  if (!record.markup.empty()) {
    out_ << kIndent << escapedToWidth(record.markup, kColumns - kIndent.size()) << '\n';
  }
  if (!record.excerpt && record.message && record.location.byteOffset &&
      record.location.byteOffset != message_.offset) {
    out_ << kIndent << "at byte " << *record.location.byteOffset << '\n';
  }
  if (record.excerpt && !isShown) {
    for (const std::string& line : renderedLines(*record.excerpt)) {
      const bool carets = line.find_first_not_of(" ^") == std::string::npos;
      out_ << kIndent << (carets ? ink_(shadeOf(record.severity), line) : line) << '\n';
    }
  }
  if (!record.expected.empty()) out_ << kIndent << "expected: " << escaped(record.expected) << '\n';
  if (!record.actual.empty())
    out_ << kIndent << "actual:   " << escapedShort(record.actual) << '\n';
  if (record.definition) {
    const DefinitionPlace& definition = *record.definition;
    out_ << kIndent << fmt::format("defined:  {} '{}'", definition.kind, escaped(definition.name));
    if (!definition.file.empty()) {
      out_ << fmt::format(" ({}:{})", escaped(definition.file), definition.line);
    }
    out_ << '\n';
  }
  if (!record.hint.empty()) out_ << kIndent << "hint:     " << escaped(record.hint) << '\n';
}

void TextReport::summary(const Summary& record) {
  closeBlock();
  if (wroteBlock_ && !style_.quiet) out_ << '\n';
  if (record.leftOut > 0) {
    out_ << fmt::format("{} left out beyond --max-findings {}\n",
                        counted(record.leftOut, "finding"), record.mostFindings);
  }
  if (style_.quiet) return;
  if (record.ignored > 0) {
    out_ << fmt::format("{} left out by --select and --ignore\n",
                        counted(record.ignored, "finding"));
  }
  out_ << losses_;
  if (record.stoppedEarly) out_ << "stopped at the first message that counts (--fail-fast)\n";
  const bool refused =
      std::ranges::find(record.outcomes, ExitCode::profileRefused) != record.outcomes.end();
  if (style_.judging && !refused) {
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
  if (!record.verdict.empty()) out_ << record.verdict << '\n';
  std::string meanings;
  for (const ExitCode code : record.outcomes) {
    fmt::format_to(std::back_inserter(meanings), "{}{} ({})", meanings.empty() ? "" : ", also ",
                   static_cast<int>(code), meaningIn(record, code));
  }
  if (record.exit >= 128) {
    out_ << fmt::format("exit {} (ended by signal {}); otherwise {}\n", record.exit,
                        record.exit - 128, meanings);
  } else {
    out_ << "exit " << meanings << (record.advice.empty() ? "" : "; ") << record.advice << '\n';
  }
}

}  // namespace qv::check
