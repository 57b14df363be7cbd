#pragma once

#include <ostream>

#include "tools/qvcheck/options.h"

namespace qv::check {

// `qvcheck traffic`: loads the profiles, reads the two streams of a connection, checks every
// message and reports. Answers the exit code.
int runTraffic(const TrafficOptions& options, std::ostream& out, std::ostream& err,
               bool outIsTerminal, bool errIsTerminal);

}  // namespace qv::check
