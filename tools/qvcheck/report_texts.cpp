#include "tools/qvcheck/report_texts.h"

#include <fmt/format.h>

#include "tools/qvcheck/escape.h"

namespace qv::check {

namespace {

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

}  // namespace qv::check
