#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "capture/byte_source.h"
#include "capture/http_framer.h"

namespace qv::capture {

// The items of one direction, pulled one by one. Whoever has messages from elsewhere (packets, an
// archive of exchanges) derives from it.
class QV_EXPORT StreamItemSource {
 public:
  virtual ~StreamItemSource() = default;
  virtual std::optional<StreamItem> next() = 0;
};

// Reads a raw byte stream as far as the next item asks for. A read error ends the stream like its
// end; ask the byte source for it.
class QV_EXPORT ByteStreamItems : public StreamItemSource {
 public:
  ByteStreamItems(std::shared_ptr<ByteSource> source, Direction direction,
                  FramingLimits limits = {});
  std::optional<StreamItem> next() override;

  const ByteSource& source() const { return *source_; }
  std::uint64_t bytesRead() const { return bytesRead_; }
  std::size_t bufferedBytes() const { return framer_.bufferedBytes() + piece_.size(); }

 private:
  std::shared_ptr<ByteSource> source_;
  HTTPFramer framer_;
  std::vector<std::uint8_t> piece_;
  std::uint64_t bytesRead_ = 0;
  bool ended_ = false;
};

}  // namespace qv::capture
