#include "capture/packets/packet_capture_reader.h"

#include <fmt/format.h>

#include <utility>

#include "capture/packets/http_connections.h"
#include "capture/packets/packet_segments.h"
#include "capture/tcp/tcp_connections.h"

namespace qv::capture {
namespace {

class PacketCaptureReader : public CaptureReader {
 public:
  PacketCaptureReader(std::shared_ptr<ByteSource> source, std::unique_ptr<PacketSegments> segments,
                      std::optional<std::uint16_t> port, FramingLimits limits)
      : source_(std::move(source)), segments_(std::move(segments)), http_(port, limits) {}

  std::optional<CaptureEvent> next() override {
    for (;;) {
      if (std::optional<CaptureEvent> event = http_.next()) return event;
      // Those about all packets stand at the end.
      const bool isClosing = packetsEnded_ && !ended_;
      std::optional<InputNote> note = isClosing ? std::nullopt : segments_->nextNote();
      if (note) return *std::move(note);
      if (!advance()) return std::nullopt;
    }
  }
  std::string_view format() const override { return segments_->format(); }
  std::string contents() const override {
    const std::uint64_t packets = segments_->packets();
    if (packets == 0) return "no packets";
    const std::string count = fmt::format("{} packet{}", packets, packets == 1 ? "" : "s");
    return segmentCount_ == 0 ? count + ", none of them TCP over IP"
                              : fmt::format("{}, {} of them TCP over IP, none with a byte of HTTP",
                                            count, segmentCount_);
  }
  Fidelity fidelity() const override { return Fidelity::exact; }
  std::optional<std::string> error() const override {
    return source_ == nullptr ? std::nullopt : source_->error();
  }

 private:
  // False when everything was told.
  bool advance() {
    if (const std::optional<TCPEvent> event = tcp_.next()) {
      http_.add(*event);
    } else if (packetsEnded_) {
      if (std::exchange(ended_, true)) return false;
      http_.finish();
    } else if (const std::optional<TCPSegment> segment = segments_->next()) {
      ++segmentCount_;
      tcp_.add(*segment);
    } else {
      packetsEnded_ = true;
      tcp_.finish();
    }
    return true;
  }

  std::shared_ptr<ByteSource> source_;  // null for pieces, whose errors are notes
  std::unique_ptr<PacketSegments> segments_;
  TCPConnections tcp_;
  HTTPConnections http_;
  std::uint64_t segmentCount_ = 0;
  bool packetsEnded_ = false;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<CaptureReader> openPacketCapture(std::shared_ptr<ByteSource> source,
                                                 std::optional<std::uint16_t> accessoryPort,
                                                 FramingLimits limits, ErrorSlot errorDescription) {
  auto segments = PacketSegments::open(source, errorDescription);
  if (segments == nullptr) return nullptr;
  return std::make_unique<PacketCaptureReader>(std::move(source), std::move(segments),
                                               accessoryPort, limits);
}

std::unique_ptr<CaptureReader> openPacketPieces(std::vector<std::string> paths, PieceOpening open,
                                                std::optional<std::uint16_t> accessoryPort,
                                                FramingLimits limits) {
  return std::make_unique<PacketCaptureReader>(
      nullptr, PacketSegments::openPieces(std::move(paths), std::move(open)), accessoryPort,
      limits);
}

}  // namespace qv::capture
