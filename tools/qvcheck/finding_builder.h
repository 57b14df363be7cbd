#pragma once

#include <vector>

#include "capture/http/framed_message.h"
#include "qvparsersupport/common/json_pointer.h"
#include "qvparsersupport/ipmessages/ip_message.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// The faults of a message that are findings. A text that only says that others follow is none, and
// where a JSON body was not read, what the objects lack that were to be read from it is none
// either.
std::vector<const QVMessageFault*> tellingFaults(const QVIPMessage& typed);

// A finding for a fault that the library found in the message, with the bytes that it concerns.
Finding findingForFault(const QVMessageFault& fault, const capture::FramedMessage& message);

// A finding for a fact about how the message stood in the capture, or null when it is not worth one
// of its own (the library objects to the same thing, or it is the ordinary case).
std::optional<Finding> findingForNote(const capture::FramingNote& note,
                                      const capture::FramedMessage& message);

// A warning of the tool about a key of a JSON body.
Finding findingForKey(std::string rule, std::string text, const JSONKeyPlace& place,
                      const capture::FramedMessage& message);

// A remark of the tool about a stretch of an input.
Finding remark(std::string rule, Severity severity, std::string text, std::uint64_t offset,
               std::uint64_t length);

}  // namespace qv::check
