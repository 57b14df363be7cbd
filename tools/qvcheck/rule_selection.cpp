#include "tools/qvcheck/rule_selection.h"

#include <algorithm>

namespace qv::check {

bool namesRule(std::string_view name, std::string_view rule) {
  if (name.ends_with(".*")) name.remove_suffix(2);
  return rule.starts_with(name) && (rule.size() == name.size() || rule[name.size()] == '.');
}

bool RuleSelection::keeps(std::string_view rule) const {
  const auto names = [&](const std::string& name) { return namesRule(name, rule); };
  return (select.empty() || std::ranges::any_of(select, names)) &&
         std::ranges::none_of(ignore, names);
}

}  // namespace qv::check
