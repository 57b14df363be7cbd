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

// What is said of requests without a response, the first of them being that message.
std::string unansweredText(std::size_t count, std::size_t message, std::string_view target);

// Numbers in the text of a finding, once that many connections and messages come before those of
// its part of the run.
void renumberText(Finding& finding, std::size_t connections, std::size_t messages);

}  // namespace qv::check
