#include "capture/http/stream_items.h"

#include <utility>

namespace qv::capture {
namespace {

constexpr std::size_t kPieceSize = std::size_t{64} << 10;

}  // namespace

ByteStreamItems::ByteStreamItems(std::shared_ptr<ByteSource> source, Direction direction,
                                 FramingLimits limits)
    : source_(std::move(source)), framer_(direction, limits), piece_(kPieceSize) {}

std::optional<StreamItem> ByteStreamItems::next() {
  for (;;) {
    if (std::optional<StreamItem> item = framer_.next()) return item;
    if (ended_) return std::nullopt;
    const std::size_t count = source_->read(piece_);
    framer_.feed(ByteView(piece_).first(count));
    if (count == 0) {
      ended_ = true;
      framer_.finish();
    }
  }
}

}  // namespace qv::capture
