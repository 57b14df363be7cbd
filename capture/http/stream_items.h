#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "capture/http/http_framer.h"
#include "capture/io/byte_source.h"

namespace qv::capture {

// Reads a raw byte stream as far as the next item asks for. A read error ends the stream like its
// end; ask the byte source for it.
class QV_EXPORT ByteStreamItems {
 public:
  ByteStreamItems(std::shared_ptr<ByteSource> source, Direction direction,
                  FramingLimits limits = {});
  std::optional<StreamItem> next();
  // See HTTPFramer.
  void askForHead(HTTPFramer::AnswersHead answersHead) {
    framer_.askForHead(std::move(answersHead));
  }

  const ByteSource& source() const { return *source_; }

 private:
  std::shared_ptr<ByteSource> source_;
  HTTPFramer framer_;
  std::vector<std::uint8_t> piece_;
  bool ended_ = false;
};

}  // namespace qv::capture
