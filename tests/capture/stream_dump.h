#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "capture/http/framed_message.h"
#include "capture/http/http_framer.h"

namespace qv::capture::test {

// One line for each item and one, indented, for each of its notes. Ranges are [begin,end) in the
// stream; each body segment reads bodyOffset@streamOffset.
//
//   response [0,50) header [0,38) contentLength "hello" 0@40
//   damage [50,53) 3 bytes that begin no message
std::string dump(const StreamItem& item);
std::string dump(const std::vector<StreamItem>& items);

// Everything that a framer yields for the stream when it is fed in pieces that end at `cuts`.
std::vector<StreamItem> framed(Direction direction, std::string_view stream,
                               const std::vector<std::size_t>& cuts = {},
                               FramingLimits limits = {});

}  // namespace qv::capture::test
