#include "tools/qvcheck/profile_options.h"

#include <CLI/CLI.hpp>

#include "tools/qvcheck/command_family.h"
#include "tools/qvcheck/source_names.h"

namespace qv::check {

namespace {

constexpr const char* kCheckExamples =
    "Examples:\n"
    "  qvcheck profile check lamp.xml\n"
    "  qvcheck profile check base.xml lamp.xml --output ndjson\n"
    "  qvcheck profile check lamp.xml --survey --fail-on warning\n"
    "\n"
    "With --survey errors are what the library refuses, warnings what it accepts\n"
    "though it looks wrong.";

constexpr const char* kFamilyExamples =
    "Examples:\n"
    "  qvcheck profile check base.xml lamp.xml\n"
    "  qvcheck profile check lamp.xml --survey --fail-on warning\n"
    "  qvcheck profile doc lamp.xml -o lamp.html\n"
    "  qvcheck profile header lamp.xml -o lamp_constants.h\n"
    "  qvcheck profile archive base.xml lamp.xml -o lamp.json";

struct OutputRow {
  ProfileOutputOptions::Form form;
  const char* name;
  const char* description;
  const char* examples;
};

constexpr OutputRow kOutputs[] = {
    {ProfileOutputOptions::Form::header, "header", "Make a C++ header of constants (C++17)",
     "Examples:\n"
     "  qvcheck profile header lamp.xml -o lamp_constants.h\n"
     "  qvcheck profile header base.xml lamp.xml --namespace acme::lamp -o constants.h"},
    {ProfileOutputOptions::Form::page, "doc", "Make a reference of the profiles to read, as HTML",
     "Examples:\n"
     "  qvcheck profile doc lamp.xml -o lamp.html"},
    {ProfileOutputOptions::Form::archive, "archive",
     "Make an archive, which is accepted wherever one profile is",
     "Examples:\n"
     "  qvcheck profile archive base.xml lamp.xml -o lamp.json\n"
     "  qvcheck profile check lamp.json"},
};

std::string checkedNamespace(const std::string& text) {
  return isNamespaceName(text) ? "" : "'" + text + "' is not a namespace";
}

// A command that makes one file out of profiles.
class OutputCommand {
 public:
  OutputCommand(CLI::App& profile, const OutputRow& row) {
    options_.form = row.form;
    command_ = profile.add_subcommand(row.name, row.description);
    command_->footer(row.examples);
    command_->add_option("FILE", options_.files, "Profiles, loaded in this order")->required();
    command_
        ->add_option("-o,--output", options_.output, "Where it goes; standard output by default")
        ->type_name("FILE");
    if (row.form == ProfileOutputOptions::Form::header) {
      command_->add_option("--namespace", options_.nameSpace, "The namespace around the constants")
          ->type_name("NAME")
          ->check(checkedNamespace)
          ->capture_default_str();
    }
  }

  std::optional<Command> command() const {
    if (!command_->parsed()) return std::nullopt;
    for (const std::string& file : options_.files) {
      if (overwrites(options_.output, file)) {
        return usageError("--output: the output would overwrite " + file);
      }
    }
    return options_;
  }

 private:
  CLI::App* command_;
  ProfileOutputOptions options_;
};

class ProfileFamily : public CommandFamily {
 public:
  void declare(CLI::App& app) override {
    CLI::App* profile = app.add_subcommand("profile", "Work on profiles");
    profile->require_subcommand(1);
    profile->footer(kFamilyExamples);
    check_ = profile->add_subcommand("check", "Load profiles together and tell what is wrong");
    check_->footer(kCheckExamples);
    check_->add_option("FILE", checkOptions_.files, "Profiles, loaded in this order")->required();
    check_->add_flag("--survey", checkOptions_.survey,
                     "Go on after a fault and tell everything that looks wrong as well");
    checkReport_.declare(*check_);
    for (const OutputRow& row : kOutputs) {
      outputs_.push_back(std::make_unique<OutputCommand>(*profile, row));
    }
  }

  std::optional<Command> command() override {
    for (const auto& output : outputs_) {
      if (auto command = output->command()) return command;
    }
    if (!check_->parsed()) return std::nullopt;
    const auto wrong = checkReport_.read(checkOptions_.files, checkOptions_.report);
    if (wrong) return usageError(*wrong);
    return checkOptions_;
  }

 private:
  CLI::App* check_ = nullptr;
  ProfileCheckOptions checkOptions_;
  ReportArguments checkReport_;
  std::vector<std::unique_ptr<OutputCommand>> outputs_;
};

}  // namespace

std::unique_ptr<CommandFamily> makeProfileFamily() {
  return std::make_unique<ProfileFamily>();
}

}  // namespace qv::check
