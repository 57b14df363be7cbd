#include "qvparsersupport/common/process_log.h"

#include <cstdio>
#include <new>
#include <string>
#include <utility>

#include "qvparsersupport/common/escape.h"

namespace qv {

namespace {

ProcessLogSink& currentSink() {
  static auto* sink = new ProcessLogSink();
  return *sink;
}

// One event is one line whatever the text holds.
void writeToStandardError(std::string_view line) {
  const std::string text = escaped(line) + '\n';
  std::fwrite(text.data(), 1, text.size(), stderr);
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
