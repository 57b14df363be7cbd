#include "tools/qvcheck/capture_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "qvparsersupport/common/text_readings.h"

namespace qv::check {

namespace {

using capture::CaptureForm;

struct FormRow {
  const char* name;
  CaptureForm form;
};

constexpr FormRow kForms[] = {
    {"auto", CaptureForm::automatic}, {"http", CaptureForm::http}, {"ndjson", CaptureForm::ndjson},
    {"har", CaptureForm::har},        {"pcap", CaptureForm::pcap},
};

std::string checkedPort(const std::string& text) {
  const bool digits = !text.empty() && text.size() <= 5 && holdsOnlyDecimalDigits(text);
  const auto port = digits ? integerReading(text) : 0;
  return port > 0 && port <= UINT16_MAX ? "" : "'" + text + "' is not a port from 1 to 65535";
}

}  // namespace

std::string checkedCount(const std::string& text) {
  const bool digits = !text.empty() && holdsOnlyDecimalDigits(text);
  return digits ? "" : "'" + text + "' is not a whole number";
}

std::string checkedCountAboveZero(const std::string& text) {
  const bool digits = !text.empty() && holdsOnlyDecimalDigits(text);
  return digits && integerReading(text) > 0 ? "" : "'" + text + "' is not a whole number above 0";
}

std::string_view nameOf(CaptureForm form) {
  return std::ranges::find(kForms, form, &FormRow::form)->name;
}

std::vector<std::string> CaptureOptions::files() const {
  std::vector<std::string> files = inputs;
  for (const std::string& file : {requestFile, responseFile}) {
    if (!file.empty()) files.push_back(file);
  }
  return files;
}

void CaptureArguments::declare(CLI::App& command, CaptureOptions& options) {
  command_ = &command;
  command
      .add_option("INPUT", options.inputs,
                  "Captures: packet files (pcap, pcapng), HAR, capture records, byte streams, "
                  "any of them gzipped; directories of them, where names that differ in "
                  "numbers alone are pieces of one; - is standard input")
      ->type_name("");
  command
      .add_option("--profile", options.profiles,
                  "Profile to check against; may be repeated, the order counts")
      ->type_name("FILE")
      ->expected(1)
      ->allow_extra_args(false)
      ->take_all();
  command
      .add_option("--request", options.requestFile,
                  "Bytes from the controller to the accessory, as a stream of their own; a "
                  "directory of numbered pieces (.req) is taken too")
      ->type_name("FILE");
  command
      .add_option("--response", options.responseFile,
                  "Bytes from the accessory to the controller, events included; a directory of "
                  "numbered pieces (.rsp) is taken too")
      ->type_name("FILE");
  command.add_option("--input-format", form_, "Form of the inputs; auto looks at what they hold")
      ->type_name("FORM")
      ->check(CLI::IsMember({"auto", "http", "ndjson", "har", "pcap"}))
      ->capture_default_str();
  command
      .add_option("--port", port_,
                  "In packet files, the accessory's port; otherwise the side that answers HTTP is "
                  "the accessory")
      ->type_name("N")
      ->check(checkedPort);
  command
      .add_option("--max-message-size", options.maxMessageSize,
                  "Larger messages are reported and skipped")
      ->type_name("BYTES")
      ->check(checkedCountAboveZero)
      ->capture_default_str();
}

std::optional<std::string> CaptureArguments::read(CaptureOptions& options) const {
  if (options.inputs.empty() && !options.hasStreams()) {
    return "there is no input; give files, or - for standard input";
  }
  const std::vector<std::string> files = options.files();
  if (std::ranges::count(files, "-") > 1) return "standard input (-) is given more than once";
  for (const FormRow& row : kForms) {
    if (form_ == row.name) options.form = row.form;
  }
  if (command_->count("--input-format") > 0 && options.inputs.empty()) {
    return "--input-format has no effect on --request and --response";
  }
  if (command_->count("--port") == 0) return std::nullopt;
  const bool readsPackets =
      options.form == CaptureForm::automatic || options.form == CaptureForm::pcap;
  if (options.inputs.empty() || !readsPackets) return "--port has an effect on packet files alone";
  options.port = static_cast<std::uint16_t>(port_);
  return std::nullopt;
}

}  // namespace qv::check
