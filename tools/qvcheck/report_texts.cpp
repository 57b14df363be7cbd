#include "tools/qvcheck/report_texts.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

#include "qvparsersupport/common/text_readings.h"
#include "tools/qvcheck/escape.h"

namespace qv::check {

namespace {

constexpr std::string_view kIsMessage = " is message ";
constexpr std::string_view kOfConnection = "(connection ";

std::string what(const MessageRecord& record) {
  const std::string connection = placeText(record.connection, record.partName, record.part);
  const std::string target = escapedShort(record.method + " " + record.url);
  if (record.kind == "request") {
    return fmt::format("request {} ({})", target, connection);
  }
  if (record.kind == "event") return fmt::format("event notification ({})", connection);
  if (record.answers) {
    return fmt::format("response to {} (message {}, {})", target, *record.answers, connection);
  }
  return fmt::format("{} ({})",
                     record.kind == "response" ? "response to an unknown request" : "message",
                     connection);
}

}  // namespace

std::string counted(std::size_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string placeText(std::size_t connection, std::string_view partName, std::uint64_t part) {
  std::string text = fmt::format("connection {}", connection);
  if (part > 0) text += fmt::format(", {} {}", partName, part);
  return text;
}

std::string headingOf(const MessageRecord& record) {
  return fmt::format("{}:{}: message {}, {}", escaped(record.inputName), record.offset,
                     record.message, what(record));
}

std::string unansweredText(std::size_t count, std::size_t message, std::string_view target) {
  return fmt::format("{} no response in the capture; {}{}{}, {}",
                     count == 1 ? "1 request has" : fmt::format("{} requests have", count),
                     count == 1 ? "it" : "the first", kIsMessage, message, target);
}

void renumberText(Finding& finding, std::size_t connections, std::size_t messages) {
  // Rules whose texts name a number, and what stands before it.
  const std::tuple<std::string_view, std::string_view, std::size_t> numbers[] = {
      {"input.unanswered", kIsMessage, messages},
      {"input.gap", kOfConnection, connections},
  };
  for (const auto& [rule, before, by] : numbers) {
    const std::size_t found = finding.text.find(before);
    if (finding.rule != rule || found == std::string::npos) continue;
    const std::size_t start = found + before.size();
    const std::size_t end =
        std::min(finding.text.find_first_not_of("0123456789", start), finding.text.size());
    const auto number = integerReading(std::string_view(finding.text).substr(start));
    finding.text.replace(start, end - start, std::to_string(static_cast<std::size_t>(number) + by));
  }
}

}  // namespace qv::check
