#pragma once

#include <span>

namespace qv {

// A rule as it is written down. Internal; hosts see QVRule.
struct RuleRow {
  const char* id;
  // One text a line, as the system words them: "%@" for a text, "%d" and "%02x" for numbers.
  const char* texts;
  // Its first sentence says by itself what is demanded; `qvcheck rules` shows it alone.
  const char* explanation;
  const char* example;
};

std::span<const RuleRow> httpRuleRows();  // and message.*
std::span<const RuleRow> jsonRuleRows();
std::span<const RuleRow> profileRuleRows();
std::span<const RuleRow> valueRuleRows();  // and tlv8.*

}  // namespace qv
