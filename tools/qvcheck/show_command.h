#pragma once

#include <ostream>

#include "tools/qvcheck/show_options.h"

namespace qv::check {

// Shows the messages of a connection one after the other, and answers the exit code.
int runShow(const ShowOptions& options, std::ostream& out, std::ostream& err, bool outIsTerminal);

}  // namespace qv::check
