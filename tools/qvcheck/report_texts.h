#pragma once

#include <string>
#include <string_view>

#include "tools/qvcheck/report.h"

namespace qv::check {

// "3 bytes", "1 byte".
std::string counted(std::size_t count, std::string_view noun);

// "connection 1, packet 12", or without the part where its number is 0.
std::string placeText(std::size_t connection, std::string_view partName, std::uint64_t part);

// "FILE:OFFSET: message 3, response to GET /accessories (message 2, connection 1)".
std::string headingOf(const MessageRecord& record);

}  // namespace qv::check
