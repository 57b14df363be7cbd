#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tools/qvcheck/report.h"

namespace qv::check {

// Loads the profiles, in order, into the shared symbol table and reports each of them, with a
// finding for what was refused. False when a file could not be read (`err` says which) or a profile
// was refused.
bool loadProfiles(const std::vector<std::string>& files, Report& report, std::ostream& err);

}  // namespace qv::check
