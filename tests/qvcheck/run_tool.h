#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "tools/qvcheck/qvcheck.h"

namespace qv::test {

struct Outcome {
  int exit;
  std::string out;
  std::string err;
};

// Runs the tool in this process.
inline Outcome runTool(const std::vector<std::string>& arguments, bool outIsTerminal = false) {
  std::ostringstream out;
  std::ostringstream err;
  const int exit = check::runQvcheck(arguments, out, err, outIsTerminal);
  return {exit, out.str(), err.str()};
}

// The text with each `part` of it replaced.
inline std::string replaced(std::string text, const std::string& part, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += by.size()) {
    text.replace(at, part.size(), by);
  }
  return text;
}

}  // namespace qv::test
