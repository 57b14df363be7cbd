#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "capture/io/byte_source.h"
#include "capture/io/stream_window.h"
#include "qvparsersupport/common/bytes.h"

namespace qv::capture {

struct InputLine {
  std::uint64_t number = 0;  // from 1
  std::uint64_t offset = 0;  // in the input
  std::uint64_t length = 0;  // without its end
  ByteView bytes;            // without its end; empty when the line is too long
  bool tooLong = false;
  bool ended = true;  // false for a last line without a line end
};

// Cuts an input into lines, which LF or CRLF ends. A line longer than the longest is passed over
// without being held.
class LineReader {
 public:
  LineReader(std::shared_ptr<ByteSource> source, std::size_t longest);

  // Null at the end. The bytes are valid until the next call. Reads no further than the next line
  // asks for.
  std::optional<InputLine> next();

  const ByteSource& source() const { return *source_; }

 private:
  InputLine taken(std::size_t length, bool ended);

  std::shared_ptr<ByteSource> source_;
  std::size_t longest_;
  std::vector<std::uint8_t> piece_;
  StreamWindow window_;
  std::size_t consumed_ = 0;  // of the window: the line that was handed out
  std::size_t scan_ = 0;      // how far the search for a line end went
  std::uint64_t lineOffset_ = 0;
  std::uint64_t lines_ = 0;
  bool passingOver_ = false;
  bool ended_ = false;
};

}  // namespace qv::capture
