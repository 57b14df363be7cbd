#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "qvparsersupport/common/load_assertion.h"

namespace qv::test {

// One test of a `load_rules.txt`: "== <subject> <name>", then pairs of a line of XML and the
// indented lines that are expected of it. Lines beginning with '#' are remarks.
struct LoadRules {
  struct Row {
    std::string xml;
    std::string expected;  // several lines are joined by line feeds
  };
  std::string subject;
  std::string name;
  std::vector<Row> rows;

  friend void PrintTo(const LoadRules& rules, std::ostream* out) { *out << rules.name; }
};

// The path is relative to the folder of the tests. A file that is not of this form ends the test
// program.
std::vector<LoadRules> loadRulesIn(const std::string& path);

// The reason of the load assertion that the call raises; "accepted" when it raises none.
template <class Call>
std::string refusalOf(Call call) {
  try {
    call();
    return "accepted";
  } catch (const QVLoadAssertion& assertion) {
    return assertion.reason();
  }
}

}  // namespace qv::test
