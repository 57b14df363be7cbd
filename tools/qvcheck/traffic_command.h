#pragma once

#include <ostream>

#include "tools/qvcheck/traffic_options.h"

namespace qv::check {

// `qvcheck traffic`: loads the profiles, reads the captures, checks every message and reports;
// `errIsTerminal` decides whether it tells meanwhile how far it is. Answers the exit code.
int runTraffic(const TrafficOptions& options, std::ostream& out, std::ostream& err,
               bool outIsTerminal, bool errIsTerminal);

}  // namespace qv::check
