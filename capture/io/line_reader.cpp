#include "capture/io/line_reader.h"

#include <cstring>
#include <utility>

namespace qv::capture {
namespace {

constexpr std::size_t kPieceSize = std::size_t{16} << 10;

}  // namespace

LineReader::LineReader(std::shared_ptr<ByteSource> source, std::size_t longest)
    : source_(std::move(source)), longest_(longest), piece_(kPieceSize) {}

std::optional<InputLine> LineReader::next() {
  window_.consume(std::exchange(consumed_, 0));
  for (;;) {
    const ByteView bytes = window_.view();
    const ByteView fresh = bytes.subspan(scan_);
    const void* end = fresh.empty() ? nullptr : std::memchr(fresh.data(), '\n', fresh.size());
    if (end != nullptr) {
      return taken(static_cast<std::size_t>(static_cast<const std::uint8_t*>(end) - bytes.data()),
                   true);
    }
    scan_ = bytes.size();
    if (scan_ > longest_) passingOver_ = true;
    if (passingOver_) window_.consume(std::exchange(scan_, 0));
    if (ended_) {
      if (window_.offset() + window_.view().size() == lineOffset_) return std::nullopt;
      return taken(scan_, false);
    }
    const std::size_t count = source_->read(piece_);
    ended_ = count == 0;
    window_.append(ByteView(piece_).first(count));
  }
}

// The line that ends `length` bytes into the window.
InputLine LineReader::taken(std::size_t length, bool ended) {
  InputLine line;
  line.number = ++lines_;
  line.offset = std::exchange(lineOffset_, window_.offset() + length + (ended ? 1 : 0));
  line.ended = ended;
  line.bytes = window_.view().first(length);
  line.length = window_.offset() + length - line.offset;
  line.tooLong = std::exchange(passingOver_, false) || length > longest_;
  if (line.tooLong) {
    line.bytes = {};
  } else if (ended && !line.bytes.empty() && line.bytes.back() == '\r') {
    line.bytes = line.bytes.first(--line.length);
  }
  consumed_ = length + (ended ? 1 : 0);
  scan_ = 0;
  return line;
}

}  // namespace qv::capture
