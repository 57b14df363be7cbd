#pragma once

#include "capture/framed_message.h"
#include "qvparsersupport/ipmessages/message_fault.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// A finding for a fault that the library found in the message, with the bytes that it concerns.
Finding findingForFault(const QVMessageFault& fault, const capture::FramedMessage& message);

// A finding for a fact about how the message stood in the capture, or null when it is not worth one
// of its own (the library objects to the same thing, or it is the ordinary case).
std::optional<Finding> findingForNote(const capture::FramingNote& note,
                                      const capture::FramedMessage& message);

// A remark of the tool about a stretch of an input.
Finding remark(std::string rule, Severity severity, std::string text, std::uint64_t offset,
               std::uint64_t length);

}  // namespace qv::check
