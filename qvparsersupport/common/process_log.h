#pragma once

#include <functional>
#include <string_view>

#include "qvparsersupport/common/export.h"

namespace qv {

// Receives one line per call, without a line end and otherwise verbatim: text from a profile may
// hold control characters, so a sink that writes to a terminal or a file escapes them (escape.h).
using ProcessLogSink = std::function<void(std::string_view line)>;

// Replaces the sink; an empty function restores the default, which writes each line to standard
// error with control characters escaped. Call it while no other thread loads a profile. What a sink
// throws is dropped, except std::bad_alloc.
QV_EXPORT void setProcessLogSink(ProcessLogSink sink);

// Writes one line to the process log.
QV_EXPORT void processLog(std::string_view line);

}  // namespace qv
