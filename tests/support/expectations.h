#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "qvparsersupport/common/load_assertion.h"

namespace qv::test {

std::string contentOf(const std::string& path);

// Compares with the file, or writes it anew when scripts/renew-expectations runs the test.
void expectContent(const std::string& path, const std::string& actual);

// A file of cases under tests/captures: each is some lines of input and, indented below them, what
// is expected of them. Lines that begin with '#' are comments; empty lines stand between cases.
using Case = std::vector<std::string>;
std::vector<Case> casesIn(const std::string& file);

// Expects the answer to each case to be the indented lines below it. Answers are shown escaped,
// and scripts/renew-expectations writes them anew.
using Answer = std::function<std::string(const Case& input)>;
void expectAnswers(const std::string& file, const Answer& answer);

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
