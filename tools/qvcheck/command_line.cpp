#include "tools/qvcheck/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "qvparsersupport/common/version.h"
#include "tools/qvcheck/command_family.h"
#include "tools/qvcheck/escape.h"

namespace qv::check {

namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  qvcheck traffic --profile lamp.xml --request run1.req --response run1.rsp\n"
    "  qvcheck show --profile lamp.xml --request run1.req --response run1.rsp --message 14\n"
    "  qvcheck profile check lamp.xml\n"
    "  qvcheck explain http.204-body\n"
    "\n"
    "Exit codes: 0 nothing found, 1 findings at or above --fail-on, 2 wrong usage,\n"
    "3 input unreadable, damaged or incomplete, 4 profile refused, 5 nothing was judged,\n"
    "70 fault of the tool itself, 128+n ended by signal n.";

// In the order of the help.
constexpr std::unique_ptr<CommandFamily> (*kFamilies[])() = {makeTrafficFamily, makeReportFamily,
                                                             makeShowFamily,    makeProfileFamily,
                                                             makeValueFamily,   makeRulesFamily};

}  // namespace

Answer usageError(const std::string& text) {
  return {"qvcheck: " + escaped(text) + "\nTry 'qvcheck --help'.\n", ExitCode::usage};
}

Command parseCommandLine(const std::vector<std::string>& arguments) {
  CLI::App app("Checks captured VEL accessory protocol traffic against profiles.", "qvcheck");
  app.footer(kExamples);
  app.require_subcommand(1);
  bool version = false;
  app.add_flag("--version", version, "Print the versions of the tool and the library");
  std::vector<std::unique_ptr<CommandFamily>> families;
  for (const auto make : kFamilies) {
    families.push_back(make());
    families.back()->declare(app);
  }
  app.get_formatter()->column_width(34);

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
    return usageError(error.what());
  }
  for (const auto& family : families) {
    if (auto command = family->command()) return *std::move(command);
  }
  return usageError("A subcommand is required");
}

}  // namespace qv::check
