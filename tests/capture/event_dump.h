#pragma once

#include <string>

#include "capture/capture_reader.h"

namespace qv::capture::test {

// One line for each event. The header of a message has a bar for each line end.
//
//   connection 1 192.0.2.7:51826
//   1.0 place 4 @1714566896000000000 [120,180) request none "GET / HTTP/1.1|"
//   1 answers 0 place 4 [120,180) response contentLength "HTTP/1.1 200 OK|" body "hello"
//   unreadablePart [180,200) place 5 entry 5 (byte 180): it is no object
std::string dump(const CaptureEvent& event);

// Everything that the reader gives, then what it says about itself: fidelity and error.
std::string dump(CaptureReader& reader);

}  // namespace qv::capture::test
