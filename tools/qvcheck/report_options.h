#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/qvcheck/report.h"

namespace CLI {
class App;
}

namespace qv::check {

enum class OutputForm : std::uint8_t { text, ndjson, capture };
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
  bool verbose = false;
  ColorChoice color = ColorChoice::automatic;

  // False when the input is only to be written as capture records.
  bool judges() const;
};

// The report options as they stand on the command line.
class ReportArguments {
 public:
  void declare(CLI::App& command);
  // Without --fail-on, for a command that finds nothing itself.
  void declareOutputs(CLI::App& command);
  // With what there is for commands that read captures besides.
  void declareForCaptures(CLI::App& command);
  // What is wrong with them, for a command that reads these inputs; null, with `options` filled in,
  // when nothing is.
  std::optional<std::string> read(const std::vector<std::string>& inputs,
                                  ReportOptions& options) const;

 private:
  std::optional<std::string> readOutputs(ReportOptions& options) const;
  std::optional<std::string> withoutEffect(const ReportOptions& options) const;

  const CLI::App* command_ = nullptr;
  bool readsCaptures_ = false;
  std::vector<std::string> outputs_;
  std::string failOn_ = "error";
  std::string color_ = "auto";
  bool quiet_ = false;
  bool verbose_ = false;
};

// The option `--color`, "auto" unless it is given, and what its text asks for.
void declareColor(CLI::App& command, std::string& choice);
ColorChoice colorChoiceNamed(std::string_view name);

// True when writing to `output` would destroy the input file.
bool overwrites(const std::string& output, const std::string& input);

}  // namespace qv::check
