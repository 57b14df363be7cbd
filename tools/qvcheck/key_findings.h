#pragma once

#include <functional>

#include "capture/http/framed_message.h"
#include "qvparsersupport/ipmessages/ip_message.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// Warnings about the keys of a JSON body: those that one object gives more than once, and those
// that nothing reads. Each is passed on as soon as it is made.
void findKeys(const QVIPMessage& typed, const capture::FramedMessage& message,
              const std::function<void(Finding)>& report);

}  // namespace qv::check
