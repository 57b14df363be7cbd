#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tools/qvcheck/report.h"

namespace qv::check {

// Loads the profiles into the shared symbol table and reports each of them, with a finding for what
// was refused: XML documents, in order, or one archive (a file whose first byte that is no blank is
// "{"). False when a file could not be read (`err` says which) or a profile was refused.
bool loadProfiles(const std::vector<std::string>& files, Report& report, std::ostream& err);

// The same, but instead of the one fault that the library stopped at every fault that can be found
// is reported, and what looks wrong besides. For XML documents only.
bool surveyProfiles(const std::vector<std::string>& files, Report& report, std::ostream& err);

// As `loadProfiles`, for a command that makes something else than a report: complaints go to `err`,
// one line each. Null when all are loaded, else the exit code.
std::optional<int> loadProfilesQuietly(const std::vector<std::string>& files, std::ostream& err);

}  // namespace qv::check
