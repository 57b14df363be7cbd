#pragma once

#include <functional>
#include <string>
#include <vector>

namespace qv::test {

// A file of cases under tests/captures: each is some lines of input and, indented below them, what
// is expected of them. Lines that begin with '#' are comments; empty lines stand between cases.
using Case = std::vector<std::string>;
std::vector<Case> casesIn(const std::string& file);

// Expects the answer to each case to be the indented lines below it. Answers are shown escaped,
// and scripts/renew-expectations writes them anew.
void expectAnswers(const std::string& file,
                   const std::function<std::string(const Case& input)>& answer);

}  // namespace qv::test
