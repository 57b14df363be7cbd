#pragma once

#include "capture/capture_reader.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// A finding for a fact about an input, whose record keeps what it means for the input as a whole.
Finding findingForInput(const capture::InputNote& note, InputRecord& input);

}  // namespace qv::check
