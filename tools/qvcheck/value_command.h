#pragma once

#include <ostream>

#include "tools/qvcheck/options.h"

namespace qv::check {

// `qvcheck value`: one value through a transformer and the checks of its definition. Answers the
// exit code.
int runValue(const ValueOptions& options, std::ostream& out, std::ostream& err);

}  // namespace qv::check
