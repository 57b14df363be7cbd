#include "tools/qvcheck/rules_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/qvcheck/command_family.h"
#include "tools/qvcheck/near_names.h"
#include "tools/qvcheck/rule_selection.h"
#include "tools/qvcheck/tool_rules.h"

namespace qv::check {

namespace {

constexpr std::size_t kLineWidth = 80;

struct ListedRule {
  const QVRule* rule;
  const char* origin;
};

// Sorted by id.
std::vector<ListedRule> allRules() {
  std::vector<ListedRule> rules;
  for (const QVRule& rule : messageRules()) rules.push_back({&rule, "library"});
  for (const QVRule& rule : toolRules()) rules.push_back({&rule, "tool"});
  std::ranges::sort(rules, {}, [](const ListedRule& each) { return each.rule->id; });
  return rules;
}

// The rule of this id, or those of an area.
std::vector<ListedRule> rulesNamed(const std::string& name) {
  std::vector<ListedRule> rules = allRules();
  std::erase_if(rules, [&](const ListedRule& each) { return !namesRule(name, each.rule->id); });
  return rules;
}

std::string_view firstSentence(std::string_view text) {
  return text.substr(0, std::min(text.find(". "), text.size() - 1));
}

// Lines of at most `kLineWidth`, broken at blanks.
void appendWrapped(std::string& out, std::string_view text) {
  while (!text.empty()) {
    std::size_t end = text.size();
    if (end > kLineWidth) {
      end = text.rfind(' ', kLineWidth);
      if (end == std::string_view::npos) end = std::min(text.find(' '), text.size());
    }
    out.append(text.substr(0, end)).push_back('\n');
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

void appendIndented(std::string& out, std::string_view lines) {
  while (!lines.empty()) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    out.append(end == 0 ? "" : "  ").append(lines.substr(0, end)).push_back('\n');
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
}

// The ids that hold the words, or else those that differ in the fewest letters.
std::string nearestIDs(const std::string& words) {
  constexpr std::size_t kMost = 4;
  constexpr std::size_t kLongest = 64;  // longer words come near to nothing
  if (words.empty() || words.size() > kLongest) return {};
  std::vector<std::pair<std::size_t, std::string_view>> near;
  for (const ListedRule& each : allRules()) {
    const std::string_view id = each.rule->id;
    const bool holds = id.find(words) != std::string_view::npos;
    near.emplace_back(holds ? 0 : editDistance(words, id), id);
  }
  std::ranges::sort(near);
  const std::size_t farthest = near.front().first == 0 ? 0 : words.size() / 3;
  std::erase_if(near, [&](const auto& each) { return each.first > farthest; });
  std::string ids;
  for (std::size_t i = 0; i < std::min(near.size(), kMost); ++i) {
    fmt::format_to(std::back_inserter(ids), "{}{}", i == 0 ? "" : ", ", near[i].second);
  }
  return ids;
}

// What is filled in differs from finding to finding.
std::string withoutPlaceholders(std::string_view text) {
  std::string out(text);
  for (const std::string_view placeholder : {"0x%02x", "%@", "%d"}) {
    for (std::size_t at = 0; (at = out.find(placeholder, at)) != std::string::npos;) {
      out.replace(at, placeholder.size(), "...");
    }
  }
  return out;
}

Answer noSuchRule(const std::string& name) {
  const std::string nearest = nearestIDs(name);
  return usageError(
      fmt::format("'{}' is no rule; {}", name,
                  nearest.empty() ? "'qvcheck rules' lists them" : "the nearest: " + nearest));
}

std::string explanationText(const QVRule& rule) {
  std::string out = fmt::format("{}\n\n", rule.id);
  for (const std::string_view text : rule.texts) appendIndented(out, withoutPlaceholders(text));
  if (!rule.texts.empty()) out.push_back('\n');
  appendWrapped(out, rule.explanation);
  out += "\nExample:\n";
  appendIndented(out, rule.example);
  return out;
}

}  // namespace

Answer listOfRules(const std::string& name) {
  const std::vector<ListedRule> rules = name.empty() ? allRules() : rulesNamed(name);
  if (rules.empty()) return noSuchRule(name);
  std::size_t width = 0;
  for (const ListedRule& each : rules) width = std::max(width, each.rule->id.size());
  std::string out = fmt::format("{:{}}  {:7}  {}\n", "RULE", width, "ORIGIN", "WHAT IT DEMANDS");
  for (const ListedRule& each : rules) {
    fmt::format_to(std::back_inserter(out), "{:{}}  {:7}  {}\n", each.rule->id, width, each.origin,
                   firstSentence(each.rule->explanation));
  }
  return {out};
}

Answer explanationOf(const std::string& name) {
  std::string out;
  for (const ListedRule& each : rulesNamed(name)) {
    if (!out.empty()) out += "\n\n";
    out += explanationText(*each.rule);
  }
  return out.empty() ? noSuchRule(name) : Answer{out};
}

}  // namespace qv::check
