#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "capture/tcp/tcp_segment.h"
#include "tests/support/expectations.h"

// The packets of a case in the language that tests/captures/tcp/order.txt explains.
namespace qv::capture::test {

// A limit of the first line, "limits total=400".
std::size_t limitIn(const qv::test::Case& input, const std::string& name, std::size_t otherwise);

void forEachSegment(const qv::test::Case& input,
                    const std::function<void(const TCPSegment&)>& take);

}  // namespace qv::capture::test
