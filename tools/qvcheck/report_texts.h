#pragma once

#include <string>
#include <string_view>

#include "tools/qvcheck/report.h"

namespace qv::check {

// "3 bytes", "1 byte".
std::string counted(std::size_t count, std::string_view noun);

// "FILE:OFFSET: message 3, response to GET /accessories (message 2, connection 1)".
std::string headingOf(const MessageRecord& record);

}  // namespace qv::check
