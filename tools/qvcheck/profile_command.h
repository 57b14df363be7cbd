#pragma once

#include <ostream>

#include "tools/qvcheck/options.h"

namespace qv::check {

// `qvcheck profile check`: loads the profiles together and reports the library's verdict. Answers
// the exit code.
int runProfileCheck(const ProfileCheckOptions& options, std::ostream& out, std::ostream& err,
                    bool outIsTerminal);

// `qvcheck profile header` and its like: makes one file out of the profiles. Answers the exit code.
int runProfileOutput(const ProfileOutputOptions& options, std::ostream& out, std::ostream& err);

}  // namespace qv::check
