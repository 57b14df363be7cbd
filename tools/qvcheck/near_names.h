#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qv::check {

// How many letters must be put in, left out, replaced or swapped with the next one to make one text
// the other.
std::size_t editDistance(std::string_view one, std::string_view other);

// The names that the wanted one may be a slip of the pen for, letter case aside: few letters
// differ, or else a name holds it. Nearest first, at most three, each once.
std::vector<std::string> nearNames(std::string_view wanted, const std::vector<std::string>& names);

// "did you mean 'A' or 'B'?"; empty for no names.
std::string didYouMean(const std::vector<std::string>& names);

}  // namespace qv::check
