#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tools/qvcheck/report.h"

namespace qv::check {

enum class OutputForm : std::uint8_t { text, ndjson };
enum class ColorChoice : std::uint8_t { automatic, always, never };

struct OutputChoice {
  OutputForm form = OutputForm::text;
  std::string file;  // empty for standard output
};

// What every command that reports understands.
struct ReportOptions {
  std::vector<OutputChoice> outputs;
  std::optional<Severity> failOn = Severity::error;  // null for never
  bool quiet = false;
  ColorChoice color = ColorChoice::automatic;
};

struct TrafficOptions {
  std::vector<std::string> profiles;
  std::string requestFile;
  std::string responseFile;
  std::size_t maxMessageSize = 0;  // bytes
  ReportOptions report;
};

struct ProfileCheckOptions {
  std::vector<std::string> files;
  ReportOptions report;
};

// Nothing to run: a text to print (help, version, or what is wrong with the usage) and the exit
// code.
struct Answer {
  std::string text;
  ExitCode exit = ExitCode::clean;
};

using Command = std::variant<Answer, TrafficOptions, ProfileCheckOptions>;

}  // namespace qv::check
