#include <CLI/CLI.hpp>

#include "tools/qvcheck/command_family.h"
#include "tools/qvcheck/rules_command.h"

namespace qv::check {

namespace {

constexpr const char* kExplainExamples =
    "Examples:\n"
    "  qvcheck explain http.204-body\n"
    "  qvcheck explain json.required-key\n"
    "  qvcheck explain input";

// Both print from the catalogue and need no run.
class RulesFamily : public CommandFamily {
 public:
  void declare(CLI::App& app) override {
    rules_ = app.add_subcommand("rules", "List the rules that findings name");
    rules_->footer("Examples:\n  qvcheck rules\n  qvcheck rules json");
    rules_->add_option("AREA", area_, "The rules of this area only");
    explain_ = app.add_subcommand("explain", "Explain a rule, with an example that breaks it");
    explain_->footer(kExplainExamples);
    explain_->add_option("RULE", rule_, "Id of the rule, as it stands in a finding, or an area")
        ->required();
  }

  std::optional<Command> command() override {
    if (rules_->parsed()) return listOfRules(area_);
    if (explain_->parsed()) return explanationOf(rule_);
    return std::nullopt;
  }

 private:
  CLI::App* rules_ = nullptr;
  CLI::App* explain_ = nullptr;
  std::string area_;
  std::string rule_;
};

}  // namespace

std::unique_ptr<CommandFamily> makeRulesFamily() {
  return std::make_unique<RulesFamily>();
}

}  // namespace qv::check
