#include "tools/qvcheck/report_texts.h"

#include <fmt/format.h>

#include "tools/qvcheck/escape.h"

namespace qv::check {

namespace {

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

}  // namespace

std::string counted(std::size_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string headingOf(const MessageRecord& record) {
  return fmt::format("{}:{}: message {}, {}", escaped(record.inputName), record.offset,
                     record.message, what(record));
}

}  // namespace qv::check
