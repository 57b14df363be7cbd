#include "tools/qvcheck/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>

#include "qvparsersupport/common/text_readings.h"
#include "qvparsersupport/common/version.h"
#include "tools/qvcheck/escape.h"

namespace qv::check {

namespace {

constexpr std::size_t kDefaultMaxMessageSize = std::size_t{64} << 20;

constexpr const char* kTopExamples =
    "Examples:\n"
    "  qvcheck traffic --profile lamp.xml --request run1.req --response run1.rsp\n"
    "  qvcheck profile check lamp.xml\n"
    "\n"
    "Exit codes: 0 nothing found, 1 findings at or above --fail-on, 2 wrong usage,\n"
    "3 input unreadable, damaged or incomplete, 4 profile refused, 5 nothing was judged,\n"
    "70 fault of the tool itself, 128+n ended by signal n.";

constexpr const char* kTrafficExamples =
    "Examples:\n"
    "  qvcheck traffic --profile lamp.xml --request run1.req --response run1.rsp\n"
    "  qvcheck traffic --profile base.xml --profile lamp.xml --request a.req --response a.rsp "
    "--quiet\n"
    "  qvcheck traffic --profile lamp.xml --request a.req --response a.rsp \\\n"
    "          --output text --output ndjson=run.ndjson --fail-on warning";

constexpr const char* kProfileExamples =
    "Examples:\n"
    "  qvcheck profile check lamp.xml\n"
    "  qvcheck profile check base.xml lamp.xml --output ndjson";

struct RawReportOptions {
  std::vector<std::string> outputs;
  std::string failOn = "error";
  std::string color = "auto";
  bool quiet = false;
};

void addReportOptions(CLI::App& command, RawReportOptions& raw) {
  command
      .add_option("--output", raw.outputs,
                  "Form of the report: text (the default) or ndjson; "
                  "=FILE writes it there; may be repeated")
      ->type_name("FORM[=FILE]")
      ->expected(1)
      ->take_all();
  command
      .add_option("--fail-on", raw.failOn,
                  "Lowest severity of a finding that makes the exit code 1")
      ->check(CLI::IsMember({"error", "warning", "note", "never"}))
      ->capture_default_str();
  command.add_flag("--quiet", raw.quiet,
                   "Only one line for each finding: file:offset: severity[rule]: text");
  command
      .add_option("--color", raw.color, "Color in text on standard output; auto honours NO_COLOR")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->capture_default_str();
}

// The report options, or what is wrong with them.
std::optional<std::string> readReportOptions(const RawReportOptions& raw, const CLI::App& command,
                                             ReportOptions& options) {
  for (const std::string& output : raw.outputs) {
    const std::size_t equals = output.find('=');
    const std::string form = output.substr(0, equals);
    OutputChoice choice;
    if (form == "ndjson") {
      choice.form = OutputForm::ndjson;
    } else if (form != "text") {
      return "--output: '" + form + "' is not a form; there are text and ndjson";
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

  constexpr std::pair<std::string_view, std::optional<Severity>> kFailOn[] = {
      {"error", Severity::error},
      {"warning", Severity::warning},
      {"note", Severity::note},
      {"never", std::nullopt}};
  for (const auto& [name, severity] : kFailOn) {
    if (raw.failOn == name) options.failOn = severity;
  }
  options.color = raw.color == "always"  ? ColorChoice::always
                  : raw.color == "never" ? ColorChoice::never
                                         : ColorChoice::automatic;
  options.quiet = raw.quiet;

  // An option that cannot have an effect is a mistake of the caller.
  const auto isText = [](const OutputChoice& choice) { return choice.form == OutputForm::text; };
  const bool anyText = std::any_of(options.outputs.begin(), options.outputs.end(), isText);
  if (options.quiet && !anyText) return "--quiet has no effect without --output text";
  if (command.count("--color") > 0 && !anyText)
    return "--color has no effect without --output text";
  if (command.count("--color") > 0 && options.quiet) return "--color has no effect with --quiet";
  return std::nullopt;
}

// The first of the inputs that a report would overwrite.
std::optional<std::string> overwrittenInput(const ReportOptions& options,
                                            const std::vector<std::string>& inputs) {
  for (const OutputChoice& output : options.outputs) {
    for (const std::string& input : inputs) {
      std::error_code unknown;  // what does not exist is no device and equivalent to nothing
      if (std::filesystem::is_character_file(input, unknown)) continue;
      if (output.file == input || std::filesystem::equivalent(output.file, input, unknown)) {
        return input;
      }
    }
  }
  return std::nullopt;
}

std::string checkedSize(const std::string& text) {
  const bool digits = !text.empty() && holdsOnlyDecimalDigits(text);
  return digits && integerReading(text) > 0 ? ""
                                            : "'" + text + "' is not a number of bytes above 0";
}

Answer usageError(const CLI::App& command, const std::string& text) {
  return {"qvcheck: " + escaped(text) + "\nTry '" + command.get_display_name() + " --help'.\n",
          ExitCode::usage};
}

}  // namespace

Command parseCommandLine(const std::vector<std::string>& arguments) {
  CLI::App app("Checks captured VEL accessory protocol traffic against profiles.", "qvcheck");
  app.footer(kTopExamples);
  app.require_subcommand(1);
  bool version = false;
  app.add_flag("--version", version, "Print the versions of the tool and the library");

  TrafficOptions traffic;
  traffic.maxMessageSize = kDefaultMaxMessageSize;
  RawReportOptions trafficReport;
  CLI::App* trafficCommand =
      app.add_subcommand("traffic", "Check one captured connection, given as two byte streams");
  trafficCommand->footer(kTrafficExamples);
  trafficCommand
      ->add_option("--profile", traffic.profiles,
                   "Profile to check against; may be repeated, the order counts")
      ->type_name("FILE")
      ->expected(1)
      ->take_all()
      ->required();
  trafficCommand
      ->add_option("--request", traffic.requestFile, "Bytes from the controller to the accessory")
      ->type_name("FILE")
      ->required();
  trafficCommand
      ->add_option("--response", traffic.responseFile,
                   "Bytes from the accessory to the controller, events included")
      ->type_name("FILE")
      ->required();
  trafficCommand
      ->add_option("--max-message-size", traffic.maxMessageSize,
                   "Larger messages are reported and skipped")
      ->type_name("BYTES")
      ->check(checkedSize)
      ->capture_default_str();
  addReportOptions(*trafficCommand, trafficReport);

  ProfileCheckOptions profile;
  RawReportOptions profileReport;
  CLI::App* profileCommand = app.add_subcommand("profile", "Work on profiles");
  profileCommand->require_subcommand(1);
  CLI::App* checkCommand =
      profileCommand->add_subcommand("check", "Load profiles together and tell what is wrong");
  checkCommand->footer(kProfileExamples);
  checkCommand->add_option("FILE", profile.files, "Profiles, loaded in this order")->required();
  addReportOptions(*checkCommand, profileReport);
  app.get_formatter()->column_width(34);
  app.name("qvcheck");

  if (std::find(arguments.begin(), arguments.end(), "--version") != arguments.end() &&
      arguments.size() == 1) {
    return Answer{std::string("qvcheck ") + QVCHECK_VERSION + "\n" + QVParserSupportVersionString,
                  ExitCode::clean};
  }
  try {
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(std::move(reversed));
  } catch (const CLI::CallForHelp&) {
    return Answer{app.help(), ExitCode::clean};
  } catch (const CLI::ParseError& error) {
    return usageError(app, error.what());
  }
  const bool isTraffic = trafficCommand->parsed();
  const CLI::App& command = isTraffic ? *trafficCommand : *checkCommand;
  const auto wrong = isTraffic ? readReportOptions(trafficReport, command, traffic.report)
                               : readReportOptions(profileReport, command, profile.report);
  if (wrong) return usageError(app, *wrong);
  std::vector<std::string> inputs = isTraffic ? traffic.profiles : profile.files;
  if (isTraffic) inputs.insert(inputs.end(), {traffic.requestFile, traffic.responseFile});
  if (const auto input = overwrittenInput(isTraffic ? traffic.report : profile.report, inputs)) {
    return usageError(app, "--output: the report would overwrite " + *input);
  }
  if (isTraffic) return traffic;
  return profile;
}

}  // namespace qv::check
