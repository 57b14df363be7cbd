#include "tools/qvcheck/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "qvparsersupport/common/version.h"
#include "tools/qvcheck/command_family.h"
#include "tools/qvcheck/escape.h"

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

}  // namespace

Answer usageError(const std::string& text) {
  return {"qvcheck: " + escaped(text) + "\nTry 'qvcheck --help'.\n", ExitCode::usage};
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
