#pragma once

#include <string>
#include <vector>

#include "capture/capture_reader.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

class CaptureInput;

// A finding for a fact about an input.
Finding findingForInput(const capture::InputNote& note);

// For an input that could not be read, or not to its end.
Finding findingForFailure(const InputRecord& input);

// Keeps in the record of the input what the event tells about the traffic that it does not hold.
void noteLosses(const capture::CaptureEvent& event, CaptureInput& input);

// In words, what the input has lost; empty when nothing is. `isAlone` says that no other record is
// of the same input.
std::vector<std::string> lossTexts(const InputRecord& record, capture::Fidelity fidelity,
                                   bool isAlone);

}  // namespace qv::check
