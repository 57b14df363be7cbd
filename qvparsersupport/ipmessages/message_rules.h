#pragma once

#include <span>
#include <string_view>

#include "qvparsersupport/common/export.h"

namespace qv {

// A rule that traffic and profiles are held to: which texts announce that it is broken, and what it
// is about.
struct QVRule {
  std::string_view id;  // dotted lower-case words, the area first
  // The library's texts, with "%@" and "%d" where something is filled in; each text belongs to
  // exactly one rule.
  std::span<const std::string_view> texts;
  std::string_view explanation;  // a few sentences for a person
  std::string_view example;      // something that breaks the rule, over several lines
};

// Every rule of the library, sorted by id; it lives as long as the process.
QV_EXPORT std::span<const QVRule> messageRules();
// Null when there is none.
QV_EXPORT const QVRule* ruleWithID(std::string_view id);
// The rule that the text announces, placeholders filled in; null for a text that is not the
// library's.
QV_EXPORT const QVRule* ruleForText(std::string_view text);

}  // namespace qv
