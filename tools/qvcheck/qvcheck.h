#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace qv::check {

// The whole tool without a process: runs what the arguments (without the program's name) ask for,
// results to `out`, complaints to `err`. Answers the exit code and never throws.
int runQvcheck(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               bool outIsTerminal);

}  // namespace qv::check
