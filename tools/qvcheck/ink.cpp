#include "tools/qvcheck/ink.h"

#include <fmt/format.h>

#include <cstdlib>

namespace qv::check {

namespace {

// https://no-color.org: any value but the empty one switches color off.
bool environmentForbidsColor() {
  const char* noColor = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return (noColor != nullptr && *noColor != '\0') ||
         (terminal != nullptr && std::string_view(terminal) == "dumb");
}

}  // namespace

std::string Ink::operator()(Shade shade, std::string_view text) const {
  constexpr std::string_view kCodes[] = {"1", "1;31", "1;33", "1;34", "36", "2"};
  if (!colored_ || text.empty()) return std::string(text);
  return fmt::format("\x1B[{}m{}\x1B[0m", kCodes[static_cast<std::size_t>(shade)], text);
}

bool wantsColor(ColorChoice choice, bool outIsTerminal) {
  return choice == ColorChoice::always ||
         (choice == ColorChoice::automatic && outIsTerminal && !environmentForbidsColor());
}

}  // namespace qv::check
