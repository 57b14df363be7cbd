#include "qvparsersupport/common/process_log.h"

#include <fmt/format.h>

#include <cstdio>
#include <iterator>
#include <new>
#include <string>
#include <utility>

namespace qv {

namespace {

ProcessLogSink& currentSink() {
  static auto* sink = new ProcessLogSink();
  return *sink;
}

// One event is one line whatever the text holds.
void writeToStandardError(std::string_view line) {
  std::string escaped;
  escaped.reserve(line.size() + 1);
  for (const char c : line) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) {
      fmt::format_to(std::back_inserter(escaped), "\\x{:02x}", byte);
    } else {
      escaped.push_back(c);
    }
  }
  escaped.push_back('\n');
  std::fwrite(escaped.data(), 1, escaped.size(), stderr);
}

}  // namespace

void setProcessLogSink(ProcessLogSink sink) {
  currentSink() = std::move(sink);
}

void processLog(std::string_view line) {
  try {
    if (currentSink()) {
      currentSink()(line);
    } else {
      writeToStandardError(line);
    }
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {  // a host's sink must not end a load
  }
}

}  // namespace qv
