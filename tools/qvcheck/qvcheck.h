#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace qv::check {

// The whole tool without a process: runs what the arguments (without the program's name) ask for,
// results to `out`, complaints to `err`, and where that is a terminal how far the run is. Answers
// the exit code and never throws.
int runQvcheck(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               bool outIsTerminal, bool errIsTerminal = false);

}  // namespace qv::check
