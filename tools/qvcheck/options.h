#pragma once

#include <string>
#include <variant>

#include "tools/qvcheck/profile_options.h"
#include "tools/qvcheck/report.h"
#include "tools/qvcheck/saved_run_options.h"
#include "tools/qvcheck/show_options.h"
#include "tools/qvcheck/traffic_options.h"
#include "tools/qvcheck/value_options.h"

namespace qv::check {

// Nothing to run: a text to print (help, version, the rules, or what is wrong with the usage) and
// the exit code.
struct Answer {
  std::string text;
  ExitCode exit = ExitCode::clean;
};

// One alternative for each command, with what it needs.
using Command = std::variant<Answer, TrafficOptions, SavedRunOptions, ShowOptions,
                             ProfileCheckOptions, ProfileOutputOptions, ValueOptions>;

}  // namespace qv::check
