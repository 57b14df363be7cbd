#include "tools/qvcheck/traffic_options.h"

#include <CLI/CLI.hpp>

#include "qvparsersupport/common/text_readings.h"
#include "tools/qvcheck/command_family.h"

namespace qv::check {

namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  qvcheck traffic --profile lamp.xml --request run1.req --response run1.rsp\n"
    "  qvcheck traffic --profile base.xml --profile lamp.xml --request a.req --response a.rsp "
    "--quiet\n"
    "  qvcheck traffic --profile lamp.xml --request a.req --response a.rsp \\\n"
    "          --output text --output ndjson=run.ndjson --fail-on warning";

std::string checkedSize(const std::string& text) {
  const bool digits = !text.empty() && holdsOnlyDecimalDigits(text);
  return digits && integerReading(text) > 0 ? ""
                                            : "'" + text + "' is not a number of bytes above 0";
}

class TrafficFamily : public CommandFamily {
 public:
  void declare(CLI::App& app) override {
    command_ =
        app.add_subcommand("traffic", "Check one captured connection, given as two byte streams");
    command_->footer(kExamples);
    command_
        ->add_option("--profile", options_.profiles,
                     "Profile to check against; may be repeated, the order counts")
        ->type_name("FILE")
        ->expected(1)
        ->take_all()
        ->required();
    command_
        ->add_option("--request", options_.requestFile,
                     "Bytes from the controller to the accessory")
        ->type_name("FILE")
        ->required();
    command_
        ->add_option("--response", options_.responseFile,
                     "Bytes from the accessory to the controller, events included")
        ->type_name("FILE")
        ->required();
    command_
        ->add_option("--max-message-size", options_.maxMessageSize,
                     "Larger messages are reported and skipped")
        ->type_name("BYTES")
        ->check(checkedSize)
        ->capture_default_str();
    report_.declare(*command_);
  }

  std::optional<Command> command() override {
    if (!command_->parsed()) return std::nullopt;
    std::vector<std::string> inputs = options_.profiles;
    inputs.insert(inputs.end(), {options_.requestFile, options_.responseFile});
    if (const auto wrong = report_.read(inputs, options_.report)) return usageError(*wrong);
    return options_;
  }

 private:
  CLI::App* command_ = nullptr;
  TrafficOptions options_;
  ReportArguments report_;
};

}  // namespace

std::unique_ptr<CommandFamily> makeTrafficFamily() {
  return std::make_unique<TrafficFamily>();
}

}  // namespace qv::check
