#include "tools/qvcheck/saved_run_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/qvcheck/command_family.h"

namespace qv::check {

namespace {

constexpr const char* kExamples =
    "Several runs become one, in the order given; its exit code is the first of 70,\n"
    "2, 4, 3, 1, 5, 0 that one of them has, and 5 only when none of them judged\n"
    "anything.\n"
    "\n"
    "Examples:\n"
    "  qvcheck report run.ndjson\n"
    "  qvcheck report --output ndjson -o all.ndjson runs/*.ndjson\n"
    "  qvcheck traffic ... --output ndjson - | tee run.ndjson | qvcheck report -";

class ReportFamily : public CommandFamily {
 public:
  void declare(CLI::App& app) override {
    command_ = app.add_subcommand("report", "Write saved runs (--output ndjson) as a report again");
    command_->footer(kExamples);
    command_
        ->add_option("RUN", options_.files,
                     "Runs that were saved as NDJSON, gzipped or not; - is standard input")
        ->type_name("")
        ->required();
    command_->add_option("-o", file_, "Write the report there")->type_name("FILE");
    report_.declareOutputs(*command_);
  }

  std::optional<Command> command() override {
    if (!command_->parsed()) return std::nullopt;
    if (std::ranges::count(options_.files, "-") > 1) {
      return usageError("standard input (-) is given more than once");
    }
    if (const auto wrong = report_.read(options_.files, options_.report)) return usageError(*wrong);
    if (file_.empty()) return options_;
    OutputChoice& output = options_.report.outputs.front();
    if (options_.report.outputs.size() > 1 || !output.file.empty()) {
      return usageError("-o names the file of one report; use --output FORM=FILE for several");
    }
    output.file = file_;
    for (const std::string& file : options_.files) {
      if (overwrites(file_, file)) return usageError("-o: the report would overwrite " + file);
    }
    return options_;
  }

 private:
  CLI::App* command_ = nullptr;
  std::string file_;
  SavedRunOptions options_;
  ReportArguments report_;
};

}  // namespace

std::unique_ptr<CommandFamily> makeReportFamily() {
  return std::make_unique<ReportFamily>();
}

}  // namespace qv::check
