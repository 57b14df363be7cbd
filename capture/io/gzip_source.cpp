#include "capture/io/gzip_source.h"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <utility>

namespace qv::capture {
namespace {

constexpr std::size_t kPieceSize = std::size_t{32} << 10;
constexpr int kGzipOnly = 16;  // added to the window bits
constexpr std::uint8_t kMagic[] = {0x1f, 0x8b, 8};

}  // namespace

class GzipSource::Impl {
 public:
  explicit Impl(std::shared_ptr<ByteSource> source) : source_(std::move(source)) {
    if (inflateInit2(&stream_, MAX_WBITS + kGzipOnly) != Z_OK) throw std::bad_alloc();
  }
  ~Impl() { inflateEnd(&stream_); }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  std::size_t read(std::span<std::uint8_t> destination) {
    stream_.next_out = destination.data();
    const auto wanted = static_cast<uInt>(
        std::min<std::size_t>(destination.size(), std::numeric_limits<uInt>::max()));
    stream_.avail_out = wanted;
    while (!ended_ && stream_.avail_out == wanted && wanted != 0) step();
    return wanted - stream_.avail_out;
  }

  const std::optional<std::string>& error() const { return error_; }

 private:
  void step() {
    if (stream_.avail_in == 0 && !refill()) {
      if (!betweenMembers_) end(source_->error().value_or("the gzip data ends too early"));
      return;
    }
    if (betweenMembers_) return beginMember();
    const int result = inflate(&stream_, Z_NO_FLUSH);
    if (result == Z_STREAM_END) {
      betweenMembers_ = true;
    } else if (result == Z_MEM_ERROR) {
      throw std::bad_alloc();
    } else if (result != Z_OK) {
      end(fmt::format("the gzip data is damaged before byte {}: {}", bytesRead_ - stream_.avail_in,
                      stream_.msg != nullptr ? stream_.msg : zError(result)));
    }
  }

  // Another member may follow, and so may zeros that fill up a block of some medium.
  void beginMember() {
    if (*stream_.next_in == 0) {
      ++stream_.next_in;
      --stream_.avail_in;
    } else if (*stream_.next_in == kMagic[0]) {
      inflateReset(&stream_);
      betweenMembers_ = false;
    } else {
      end(fmt::format("no gzip data stands at byte {}", bytesRead_ - stream_.avail_in));
    }
  }

  bool refill() {
    const std::size_t count = source_->read(piece_);
    bytesRead_ += count;
    stream_.next_in = piece_.data();
    stream_.avail_in = static_cast<uInt>(count);
    if (count != 0) return true;
    ended_ = true;
    if (betweenMembers_) error_ = source_->error();
    return false;
  }

  void end(std::string text) {
    ended_ = true;
    error_ = std::move(text);
  }

  std::shared_ptr<ByteSource> source_;
  z_stream stream_{};
  std::array<std::uint8_t, kPieceSize> piece_;
  std::uint64_t bytesRead_ = 0;
  bool betweenMembers_ = false;
  bool ended_ = false;
  std::optional<std::string> error_;
};

bool GzipSource::recognises(ByteView beginning) {
  return beginning.size() >= std::size(kMagic) &&
         std::equal(std::begin(kMagic), std::end(kMagic), beginning.begin());
}

GzipSource::GzipSource(std::shared_ptr<ByteSource> source)
    : impl_(std::make_unique<Impl>(std::move(source))) {}

GzipSource::~GzipSource() = default;

std::size_t GzipSource::read(std::span<std::uint8_t> destination) {
  return impl_->read(destination);
}

std::optional<std::string> GzipSource::error() const {
  return impl_->error();
}

std::shared_ptr<PeekedSource> inflatedWhereCompressed(std::shared_ptr<ByteSource> source) {
  auto peeked = std::make_shared<PeekedSource>(std::move(source));
  if (!GzipSource::recognises(peeked->peek(std::size(kMagic)))) return peeked;
  return std::make_shared<PeekedSource>(std::make_shared<GzipSource>(std::move(peeked)));
}

}  // namespace qv::capture
