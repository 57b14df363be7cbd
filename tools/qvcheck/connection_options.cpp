#include "tools/qvcheck/connection_options.h"

#include <CLI/CLI.hpp>

#include "qvparsersupport/common/text_readings.h"

namespace qv::check {

std::string checkedCount(const std::string& text) {
  const bool digits = !text.empty() && holdsOnlyDecimalDigits(text);
  return digits ? "" : "'" + text + "' is not a whole number";
}

std::string checkedCountAboveZero(const std::string& text) {
  const bool digits = !text.empty() && holdsOnlyDecimalDigits(text);
  return digits && integerReading(text) > 0 ? "" : "'" + text + "' is not a whole number above 0";
}

void declareConnection(CLI::App& command, ConnectionOptions& options) {
  command
      .add_option("--profile", options.profiles,
                  "Profile to check against; may be repeated, the order counts")
      ->type_name("FILE")
      ->expected(1)
      ->take_all()
      ->required();
  command
      .add_option("--request", options.requestFile, "Bytes from the controller to the accessory")
      ->type_name("FILE")
      ->required();
  command
      .add_option("--response", options.responseFile,
                  "Bytes from the accessory to the controller, events included")
      ->type_name("FILE")
      ->required();
  command
      .add_option("--max-message-size", options.maxMessageSize,
                  "Larger messages are reported and skipped")
      ->type_name("BYTES")
      ->check(checkedCountAboveZero)
      ->capture_default_str();
}

}  // namespace qv::check
