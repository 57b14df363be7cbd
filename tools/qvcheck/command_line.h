#pragma once

#include <string>
#include <vector>

#include "tools/qvcheck/options.h"

namespace qv::check {

// The command that the arguments (without the program's name) ask for, or the answer to give
// instead.
Command parseCommandLine(const std::vector<std::string>& arguments);

}  // namespace qv::check
