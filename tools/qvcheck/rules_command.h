#pragma once

#include <string>

#include "tools/qvcheck/options.h"

namespace qv::check {

// The name in both is that of a rule or an area, as `--select` takes it; for one that there is not,
// the answer is a complaint with the ids that come nearest.

// What `qvcheck rules` prints: each rule of the library and the tool on a line; all of them when no
// name is given.
Answer listOfRules(const std::string& name);

// What `qvcheck explain` prints.
Answer explanationOf(const std::string& name);

}  // namespace qv::check
