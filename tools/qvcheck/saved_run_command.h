#pragma once

#include <ostream>

#include "tools/qvcheck/saved_run_options.h"

namespace qv::check {

// `qvcheck report`: writes saved runs as one report and answers the exit code of it.
int runReport(const SavedRunOptions& options, std::ostream& out, std::ostream& err,
              bool outIsTerminal);

}  // namespace qv::check
