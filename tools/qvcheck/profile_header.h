#pragma once

#include <string>
#include <vector>

namespace qv::check {

struct ProfileHeader {
  std::string text;
  std::vector<std::string> remarks;  // on every name that is not the one of the profile
};

// What the shared symbol table holds as a C++ header of constants (C++17), in the given namespace.
// `sources` are the files to name in its first line.
ProfileHeader profileHeader(const std::string& nameSpace, const std::vector<std::string>& sources);

}  // namespace qv::check
