#pragma once

#include <functional>
#include <memory>
#include <string>

#include "capture/io/byte_source.h"
#include "qvparsersupport/common/failure.h"

namespace qv::check {

// A file of the command line, opened.
struct NamedFile {
  std::shared_ptr<capture::ByteSource> bytes;  // null when it cannot be opened
  bool opensOnce = false;                      // standard input, a pipe, a terminal or the like
};

// "-" is standard input. `beforeWaiting` is called before each read that may have to wait; a signal
// ends such a file like its end.
NamedFile openNamedFile(const std::string& name, std::function<void()> beforeWaiting,
                        ErrorSlot errorDescription);

}  // namespace qv::check
