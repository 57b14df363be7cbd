#pragma once

#include <string>
#include <vector>

namespace qv::check {

// What the shared symbol table holds as a reference to read: one HTML page that needs nothing but
// itself. `sources` are the files to name in it. The same table gives the same page.
std::string profilePage(const std::vector<std::string>& sources);

}  // namespace qv::check
