#include "tools/qvcheck/profile_options.h"

#include <CLI/CLI.hpp>

#include "tools/qvcheck/command_family.h"

namespace qv::check {

namespace {

constexpr const char* kCheckExamples =
    "Examples:\n"
    "  qvcheck profile check lamp.xml\n"
    "  qvcheck profile check base.xml lamp.xml --output ndjson";

class ProfileFamily : public CommandFamily {
 public:
  void declare(CLI::App& app) override {
    CLI::App* profile = app.add_subcommand("profile", "Work on profiles");
    profile->require_subcommand(1);
    check_ = profile->add_subcommand("check", "Load profiles together and tell what is wrong");
    check_->footer(kCheckExamples);
    check_->add_option("FILE", checkOptions_.files, "Profiles, loaded in this order")->required();
    checkReport_.declare(*check_);
  }

  std::optional<Command> command() override {
    if (!check_->parsed()) return std::nullopt;
    const auto wrong = checkReport_.read(checkOptions_.files, checkOptions_.report);
    if (wrong) return usageError(*wrong);
    return checkOptions_;
  }

 private:
  CLI::App* check_ = nullptr;
  ProfileCheckOptions checkOptions_;
  ReportArguments checkReport_;
};

}  // namespace

std::unique_ptr<CommandFamily> makeProfileFamily() {
  return std::make_unique<ProfileFamily>();
}

}  // namespace qv::check
