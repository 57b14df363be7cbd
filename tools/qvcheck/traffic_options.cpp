#include "tools/qvcheck/traffic_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "tools/qvcheck/command_family.h"
#include "tools/qvcheck/tool_rules.h"

namespace qv::check {

namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  qvcheck traffic --profile lamp.xml run1.pcap\n"
    "  tcpdump -U -w - | qvcheck traffic --profile lamp.xml --port 51826 -\n"
    "  qvcheck traffic --profile lamp.xml --request run1.req --response run1.rsp\n"
    "  qvcheck traffic --profile base.xml --profile lamp.xml --quiet captures/*\n"
    "  qvcheck traffic --profile lamp.xml --fail-on warning \\\n"
    "          --output text --output ndjson=run.ndjson run1.har\n"
    "  qvcheck traffic --output capture=run1.ndjson run1.pcap";

bool namesAnyRule(const std::string& name) {
  const auto isNamed = [&](const QVRule& rule) { return namesRule(name, rule.id); };
  return std::ranges::any_of(messageRules(), isNamed) || std::ranges::any_of(toolRules(), isNamed);
}

class TrafficFamily : public CommandFamily {
 public:
  void declare(CLI::App& app) override {
    command_ = app.add_subcommand("traffic", "Check captured traffic");
    command_->footer(kExamples);
    captures_.declare(*command_, options_);
    declareLimits();
    command_
        ->add_option("--jobs", options_.jobs,
                     "Worker processes that check inputs side by side; the report stays the same")
        ->type_name("N")
        ->check(checkedCountAboveZero)
        ->capture_default_str();
    report_.declareForCaptures(*command_);
    command_->add_flag("--progress", options_.progress,
                       "Tell on standard error, where that is a terminal, how far the run is; "
                       "without it only when standard output is none");
  }

  std::optional<Command> command() override {
    if (!command_->parsed()) return std::nullopt;
    if (const auto wrong = captures_.read(options_)) return usageError(*wrong);
    std::vector<std::string> inputs = options_.files();
    inputs.insert(inputs.end(), options_.profiles.begin(), options_.profiles.end());
    if (const auto wrong = report_.read(inputs, options_.report)) return usageError(*wrong);
    const bool judges = options_.report.judges();
    if (judges && options_.profiles.empty()) return usageError("--profile is required");
    const std::optional<std::string> forJudging = judges ? std::nullopt : judgingOption();
    if (forJudging) {
      return usageError(*forJudging + " has no effect with --output capture alone");
    }
    for (const auto& [option, names] : {std::pair("--select", &options_.limits.rules.select),
                                        std::pair("--ignore", &options_.limits.rules.ignore)}) {
      const auto unknown = std::ranges::find_if_not(*names, namesAnyRule);
      if (unknown != names->end()) {
        return usageError(std::string(option) + ": there is no rule '" + *unknown +
                          "'; 'qvcheck rules' lists them");
      }
    }
    const auto& outputs = options_.report.outputs;
    if (options_.jobs > 1 &&
        std::ranges::count(outputs, OutputForm::capture, &OutputChoice::form)) {
      return usageError("--jobs has no effect with --output capture");
    }
    if (options_.progress && options_.report.quiet) {
      return usageError("--progress has no effect with --quiet");
    }
    if (options_.failFast && !options_.report.failOn) {
      return usageError("--fail-fast has no effect with --fail-on never");
    }
    return options_;
  }

 private:
  // One that was given and has an effect on judging alone.
  std::optional<std::string> judgingOption() const {
    for (const char* option :
         {"--profile", "--select", "--ignore", "--max-findings", "--fail-fast"}) {
      if (command_->count(option) > 0) return option;
    }
    return std::nullopt;
  }

  void declareLimits() {
    command_
        ->add_option("--select", options_.limits.rules.select,
                     "Report this rule, or rules of this area, alone; may be repeated")
        ->type_name("RULE")
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
    command_
        ->add_option(
            "--ignore", options_.limits.rules.ignore,
            "Do not report this rule, or rules of this area (json, json.*); may be repeated")
        ->type_name("RULE")
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
    command_
        ->add_option("--max-findings", options_.limits.mostFindings,
                     "Further findings are only counted")
        ->type_name("COUNT")
        ->check(checkedCount)
        ->capture_default_str();
    command_->add_flag("--fail-fast", options_.failFast,
                       "Stop behind the first message that makes the exit code 1");
  }

  CLI::App* command_ = nullptr;
  TrafficOptions options_;
  CaptureArguments captures_;
  ReportArguments report_;
};

}  // namespace

std::unique_ptr<CommandFamily> makeTrafficFamily() {
  return std::make_unique<TrafficFamily>();
}

}  // namespace qv::check
