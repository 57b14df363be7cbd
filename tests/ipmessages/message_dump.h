#pragma once

#include <memory>
#include <string>

#include "qvparsersupport/ipmessages/ip_message.h"
#include "qvparsersupport/ipmessages/message_rules.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv::test {

// A line for each fault: rule, part, range, path of the TLV8 field, text; then the description,
// when it is another text than the last fault's.
inline std::string faultsOf(const QVIPMessage& message) {
  static constexpr const char* kParts[] = {"-", "start", "header", "body"};
  std::string out;
  for (const QVMessageFault& fault : message.faults()) {
    out += std::string(fault.rule) + " " + kParts[static_cast<int>(fault.part)];
    if (fault.range) {
      out += " " + std::to_string(fault.range->offset) + "+" + std::to_string(fault.range->length);
    }
    if (!fault.tlv8Path.empty()) out += " " + fault.tlv8Path;
    out += ": " + fault.text + "\n";
    const QVRule* rule = ruleForText(fault.text);
    EXPECT_EQ(rule != nullptr ? rule->id : "message.host", fault.rule) << fault.text;
  }
  const std::string last = message.faults().empty() ? "null" : message.faults().back().text;
  const std::string description = message.errorDescription().value_or("null");
  return description == last ? out : out + description + "\n";
}

inline std::shared_ptr<QVIPMessage> requestFrom(const std::string& firstTwoItems) {
  return QVIPMessage::requestMessageForHeader(bytesOf(firstTwoItems + " HTTP/1.1\r\n"),
                                              std::nullopt);
}

// The body that a case may give below its header; `""` is an empty one.
inline std::optional<Bytes> bodyOf(const Case& input, std::size_t line) {
  if (input.size() <= line) return std::nullopt;
  return input[line] == "\"\"" ? Bytes() : readableBytes(input[line]);
}

}  // namespace qv::test
