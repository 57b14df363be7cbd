#pragma once

#include <string>

#include "tools/qvcheck/options.h"

namespace qv::check {

// What `qvcheck rules` prints: each rule of the library and the tool on a line.
std::string rulesText();

// What `qvcheck explain` prints; for a rule that there is not, the complaint with the ids that come
// nearest.
Answer explanationOf(const std::string& rule);

}  // namespace qv::check
