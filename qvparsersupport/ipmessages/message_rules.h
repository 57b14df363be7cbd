#pragma once

#include <span>
#include <string_view>

#include "qvparsersupport/common/export.h"

namespace qv {

// A rule that traffic and profiles are held to: which texts announce that it is broken, and what it
// is about.
struct QVRule {
  std::string_view id;  // dotted lower-case words, the area first
  // The library's texts, with "%@", "%d" or "%02x" where something is filled in; each text belongs
  // to exactly one rule. Empty for `message.host`, the rule of texts that a host sets.
  std::span<const std::string_view> texts;
  // A few sentences for a person; the first says by itself what is demanded.
  std::string_view explanation;
  std::string_view example;  // something that breaks the rule, on one line or several
};

// Every rule of the library, sorted by id; it lives as long as the process.
QV_EXPORT std::span<const QVRule> messageRules();
// Null when there is none.
QV_EXPORT const QVRule* ruleWithID(std::string_view id);
// The rule that the text announces; null for a text that is not the library's. What is filled in
// may be any text, or none; where two rules fit, the one with more of its own words in the text
// counts.
QV_EXPORT const QVRule* ruleForText(std::string_view text);

}  // namespace qv
