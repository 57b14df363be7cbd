#include "tools/qvcheck/show_options.h"

#include <CLI/CLI.hpp>

#include "tools/qvcheck/command_family.h"

namespace qv::check {

namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  qvcheck show --profile lamp.xml run1.pcap\n"
    "  qvcheck show --profile lamp.xml --message 14 --request run1.req \\\n"
    "          --response run1.rsp";

class ShowFamily : public CommandFamily {
 public:
  void declare(CLI::App& app) override {
    command_ = app.add_subcommand("show", "Show decoded messages without judging them");
    command_->footer(kExamples);
    captures_.declare(*command_, options_);
    command_
        ->add_option("--message", options_.message,
                     "Only this message, by the number that the report gives it")
        ->type_name("N")
        ->check(checkedCountAboveZero);
    declareColor(*command_, color_);
  }

  std::optional<Command> command() override {
    if (!command_->parsed()) return std::nullopt;
    if (const auto wrong = captures_.read(options_)) return usageError(*wrong);
    if (options_.profiles.empty()) return usageError("--profile is required");
    options_.color = colorChoiceNamed(color_);
    return options_;
  }

 private:
  CLI::App* command_ = nullptr;
  std::string color_ = "auto";
  ShowOptions options_;
  CaptureArguments captures_;
};

}  // namespace

std::unique_ptr<CommandFamily> makeShowFamily() {
  return std::make_unique<ShowFamily>();
}

}  // namespace qv::check
