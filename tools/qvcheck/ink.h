#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/qvcheck/report_options.h"

namespace qv::check {

enum class Shade : std::uint8_t { bold, red, yellow, blue, cyan, faint };

// Colors text for a terminal, or leaves it as it is.
class Ink {
 public:
  explicit Ink(bool colored) : colored_(colored) {}
  std::string operator()(Shade shade, std::string_view text) const;

 private:
  bool colored_;
};

// Whether what is written to standard output is to be colored. Automatic means that it is a
// terminal and that the environment has nothing against it.
bool wantsColor(ColorChoice choice, bool outIsTerminal);

}  // namespace qv::check
