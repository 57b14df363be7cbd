#include "tools/qvcheck/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <variant>

#include "qvparsersupport/common/version.h"
#include "tools/qvcheck/command_family.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/near_names.h"

namespace qv::check {

namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  qvcheck traffic --profile lamp.xml run1.pcap\n"
    "  qvcheck show --profile lamp.xml --message 14 run1.pcap\n"
    "  qvcheck profile check lamp.xml\n"
    "  qvcheck explain http.204-body\n"
    "\n"
    "Exit codes: 0 nothing found, 1 findings at or above --fail-on, 2 wrong usage,\n"
    "3 input unreadable, damaged or incomplete, 4 profile refused,\n"
    "5 nothing was judged, 70 fault of the tool itself, 128+n ended by signal n.";

// Breaks what stands in the right column, so that a line of the help has at most 80 characters.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(kColumn); }

  std::string make_option_desc(const CLI::Option* option) const override {
    return broken(option->get_description());
  }
  std::string make_subcommand(const CLI::App* command) const override {
    std::ostringstream out;
    CLI::detail::format_help(out, command->get_name(), broken(command->get_description()), kColumn);
    return out.str();
  }

 private:
  static constexpr std::size_t kColumn = 30;
  static constexpr std::size_t kWidth = 80 - kColumn;

  static std::string broken(const std::string& text) {
    std::string lines;
    std::size_t length = 0;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      const bool fits = length + 1 + word.size() <= kWidth;
      if (!lines.empty()) lines += fits ? ' ' : '\n';
      length = fits && !lines.empty() ? length + 1 + word.size() : word.size();
      lines += word;
    }
    return lines;
  }
};

// In the order of the help.
constexpr std::unique_ptr<CommandFamily> (*kFamilies[])() = {makeTrafficFamily, makeReportFamily,
                                                             makeShowFamily,    makeProfileFamily,
                                                             makeValueFamily,   makeRulesFamily};

const CLI::App* commandNamed(const CLI::App& app, const std::string& name) {
  const auto named =
      app.get_subcommands([&name](const CLI::App* command) { return command->check_name(name); });
  return named.empty() ? nullptr : named.front();
}

// How far a command line names a command.
struct NamedCommand {
  const CLI::App* app = nullptr;
  std::string path;     // "profile check"; empty for the tool itself
  std::string unknown;  // the name that stands where one of a command has to; empty for none
};

NamedCommand namedCommand(const CLI::App& app, const std::vector<std::string>& arguments) {
  NamedCommand named{&app, "", ""};
  for (const std::string& argument : arguments) {
    if (argument.starts_with('-') || named.app->get_subcommands({}).empty()) break;
    const CLI::App* const next = commandNamed(*named.app, argument);
    if (next == nullptr) {
      named.unknown = argument;
      break;
    }
    named.app = next;
    named.path += (named.path.empty() ? "" : " ") + argument;
  }
  return named;
}

std::string adviceFor(const std::vector<std::string>& nearest) {
  return nearest.empty() ? "" : "; " + didYouMean(nearest);
}

std::string unknownCommandText(const NamedCommand& named) {
  std::vector<std::string> names;
  for (const CLI::App* command : named.app->get_subcommands({}))
    names.push_back(command->get_name());
  return "there is no command '" + named.unknown + "'" + adviceFor(nearNames(named.unknown, names));
}

// For the first long option that the command does not have.
std::string optionAdvice(const CLI::App& command, const std::vector<std::string>& arguments) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  for (const std::string& argument : arguments) {
    const std::string name = argument.substr(0, argument.find('='));
    const bool isOption = name.size() > 2 && name.starts_with("--");
    if (isOption && std::ranges::find(names, name) == names.end()) {
      return adviceFor(nearNames(name, names));
    }
  }
  return "";
}

Command parsed(CLI::App& app, const std::vector<std::unique_ptr<CommandFamily>>& families,
               const NamedCommand& named, const std::vector<std::string>& arguments) {
  if (!named.unknown.empty()) return usageError(unknownCommandText(named));
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::CallForHelp&) {
    return Answer{app.help(), ExitCode::clean};
  } catch (const CLI::ExtrasError& error) {
    return usageError(error.what() + optionAdvice(*named.app, arguments));
  } catch (const CLI::ParseError& error) {
    return usageError(error.what());
  }
  for (const auto& family : families) {
    if (auto command = family->command()) return *std::move(command);
  }
  return usageError("A subcommand is required");
}

}  // namespace

Answer usageError(const std::string& text) {
  return {"qvcheck: " + escaped(text) + '\n', ExitCode::usage};
}

std::string helpAdvice(const std::string& command) {
  return "Try 'qvcheck " + command + (command.empty() ? "" : " ") + "--help'.\n";
}

Command parseCommandLine(const std::vector<std::string>& arguments) {
  CLI::App app("Checks captured VEL accessory protocol traffic against profiles.", "qvcheck");
  app.formatter(std::make_shared<HelpFormatter>());
  app.footer(kExamples);
  app.require_subcommand(1);
  bool version = false;
  app.add_flag("--version", version, "Print the versions of the tool and the library");
  std::vector<std::unique_ptr<CommandFamily>> families;
  for (const auto make : kFamilies) {
    families.push_back(make());
    families.back()->declare(app);
  }

  if (std::find(arguments.begin(), arguments.end(), "--version") != arguments.end() &&
      arguments.size() == 1) {
    return Answer{std::string("qvcheck ") + QVCHECK_VERSION + "\n" + QVParserSupportVersionString,
                  ExitCode::clean};
  }
  if (arguments == std::vector<std::string>{"help"}) return Answer{app.help(), ExitCode::clean};
  const NamedCommand named = namedCommand(app, arguments);
  Command command = parsed(app, families, named, arguments);
  auto* const answer = std::get_if<Answer>(&command);
  if (answer != nullptr && answer->exit == ExitCode::usage) answer->text += helpAdvice(named.path);
  return command;
}

}  // namespace qv::check
