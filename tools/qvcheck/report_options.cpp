#include "tools/qvcheck/report_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <string_view>

namespace qv::check {

void declareColor(CLI::App& command, std::string& choice) {
  command.add_option("--color", choice, "Color in text on standard output; auto honours NO_COLOR")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->capture_default_str();
}

ColorChoice colorChoiceNamed(std::string_view name) {
  if (name == "always") return ColorChoice::always;
  return name == "never" ? ColorChoice::never : ColorChoice::automatic;
}

bool ReportOptions::judges() const {
  return std::ranges::any_of(
      outputs, [](const OutputChoice& choice) { return choice.form != OutputForm::capture; });
}

void ReportArguments::declareForCaptures(CLI::App& command) {
  readsCaptures_ = true;
  declare(command);
  command.add_flag("--verbose", verbose_,
                   "In text, a line for each connection, input and message without findings too");
}

void ReportArguments::declare(CLI::App& command) {
  declareOutputs(command);
  command
      .add_option("--fail-on", failOn_, "Lowest severity of a finding that makes the exit code 1")
      ->type_name("SEVERITY")
      ->check(CLI::IsMember({"error", "warning", "note", "never"}))
      ->capture_default_str();
}

void ReportArguments::declareOutputs(CLI::App& command) {
  command_ = &command;
  command
      .add_option("--output", outputs_,
                  std::string("Form of the report: text (the default) or ndjson") +
                      (readsCaptures_ ? ", or capture, which writes the input as capture records "
                                        "and alone needs no profile"
                                      : "") +
                      "; =FILE writes it there; may be repeated")
      ->type_name("FORM[=FILE]")
      ->expected(1)
      ->allow_extra_args(false)
      ->take_all();
  command.add_flag("--quiet", quiet_,
                   "Only one line for each finding: file:offset: severity[rule]: text");
  declareColor(command, color_);
}

std::optional<std::string> ReportArguments::readOutputs(ReportOptions& options) const {
  for (const std::string& output : outputs_) {
    const std::size_t equals = output.find('=');
    const std::string form = output.substr(0, equals);
    OutputChoice choice;
    if (form == "ndjson") {
      choice.form = OutputForm::ndjson;
    } else if (form == "capture" && readsCaptures_) {
      choice.form = OutputForm::capture;
    } else if (form != "text") {
      return "--output: '" + form + "' is not a form; there are " +
             (readsCaptures_ ? "text, ndjson and capture" : "text and ndjson");
    }
    if (equals != std::string::npos) {
      choice.file = output.substr(equals + 1);
      if (choice.file.empty()) return "--output: no file name after '" + output + "'";
    }
    for (const OutputChoice& earlier : options.outputs) {
      if (earlier.file == choice.file) {
        return "--output: two reports would go to " +
               (choice.file.empty() ? std::string("standard output") : choice.file);
      }
    }
    options.outputs.push_back(std::move(choice));
  }
  if (options.outputs.empty()) options.outputs.emplace_back();
  return std::nullopt;
}

// An option that cannot have an effect is a mistake of the caller.
std::optional<std::string> ReportArguments::withoutEffect(const ReportOptions& options) const {
  const auto isText = [](const OutputChoice& choice) { return choice.form == OutputForm::text; };
  const bool anyText = std::any_of(options.outputs.begin(), options.outputs.end(), isText);
  const bool color = command_->count("--color") > 0;
  if (options.quiet && !anyText) return "--quiet has no effect without --output text";
  if (options.verbose && !anyText) return "--verbose has no effect without --output text";
  if (options.verbose && options.quiet) return "--verbose has no effect with --quiet";
  if (color && !anyText) return "--color has no effect without --output text";
  if (!options.judges() && command_->count("--fail-on") > 0) {
    return "--fail-on has no effect with --output capture alone";
  }
  if (color && options.quiet) return "--color has no effect with --quiet";
  return std::nullopt;
}

std::optional<std::string> ReportArguments::read(const std::vector<std::string>& inputs,
                                                 ReportOptions& options) const {
  if (auto wrong = readOutputs(options)) return wrong;
  options.failOn = severityNamed(failOn_);  // null for "never"
  options.color = colorChoiceNamed(color_);
  options.quiet = quiet_;
  options.verbose = verbose_;
  if (auto wrong = withoutEffect(options)) return wrong;
  for (const OutputChoice& output : options.outputs) {
    for (const std::string& input : inputs) {
      if (overwrites(output.file, input)) {
        return "--output: the report would overwrite " + input;
      }
    }
  }
  return std::nullopt;
}

bool overwrites(const std::string& output, const std::string& input) {
  std::error_code unknown;  // what does not exist is no device and equivalent to nothing
  if (std::filesystem::is_character_file(input, unknown)) return false;
  if (std::filesystem::is_directory(input, unknown) && !output.empty()) {
    // It would become one of the pieces.
    const std::filesystem::path folder = std::filesystem::path(output).parent_path();
    return std::filesystem::equivalent(folder.empty() ? "." : folder, input, unknown);
  }
  return output == input || std::filesystem::equivalent(output, input, unknown);
}

}  // namespace qv::check
