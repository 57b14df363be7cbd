#pragma once

#include <algorithm>
#include <string_view>

namespace qv::capture {

inline char lowerCaseLetter(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// ASCII alone, as names of fields and schemes compare.
inline bool equalsIgnoringCase(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char a, char b) { return lowerCaseLetter(a) == lowerCaseLetter(b); });
}

}  // namespace qv::capture
