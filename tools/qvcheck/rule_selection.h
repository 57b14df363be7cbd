#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qv::check {

// Which rules a run reports: the selected ones, or all when none is, without the ignored ones. Each
// text names a rule ("json.kind") or an area ("json", "json.*").
struct RuleSelection {
  std::vector<std::string> select;
  std::vector<std::string> ignore;

  bool keeps(std::string_view rule) const;
};

bool namesRule(std::string_view name, std::string_view rule);

}  // namespace qv::check
