#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/capture_opening.h"

namespace CLI {
class App;
}

namespace qv::check {

// What to read, and the profiles to read it by.
struct CaptureOptions {
  std::vector<std::string> profiles;
  std::vector<std::string> inputs;  // files, directories of pieces, "-" for standard input
  // One connection as two byte streams; empty where it is not given.
  std::string requestFile;
  std::string responseFile;
  capture::CaptureForm form = capture::CaptureForm::automatic;
  std::optional<std::uint16_t> port;                   // of the accessory
  std::size_t maxMessageSize = std::size_t{64} << 20;  // bytes

  bool hasStreams() const { return !requestFile.empty() || !responseFile.empty(); }
  // Every file that is read.
  std::vector<std::string> files() const;
};

// As the command line has it: "auto", "http", "ndjson", "har" or "pcap".
std::string_view nameOf(capture::CaptureForm form);

// The options as they stand on the command line.
class CaptureArguments {
 public:
  void declare(CLI::App& command, CaptureOptions& options);
  // What is wrong with them; null when nothing is.
  std::optional<std::string> read(CaptureOptions& options) const;

 private:
  const CLI::App* command_ = nullptr;
  std::string form_ = "auto";
  std::uint32_t port_ = 0;
};

// What is wrong with a text that should be a whole number; empty when nothing is.
std::string checkedCount(const std::string& text);
std::string checkedCountAboveZero(const std::string& text);

}  // namespace qv::check
