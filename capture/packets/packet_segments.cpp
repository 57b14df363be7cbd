#include "capture/packets/packet_segments.h"

#include <fmt/format.h>

#include <utility>
#include <vector>

#include "capture/packets/ip_fragments.h"
#include "capture/packets/ip_packet.h"
#include "capture/packets/link_layers.h"
#include "capture/packets/packet_reader.h"

namespace qv::capture {
namespace {

constexpr std::size_t kMagicSize = 4;

// Packets that were left out for like reasons, of which the first one is told.
struct LeftOut {
  PacketCount packets;
  std::string reason;

  void add(const CapturePlace& place, std::string_view why) {
    if (packets.count == 0) reason = why;
    packets.add(place);
  }
};

class FileSegments final : public PacketSegments {
 public:
  explicit FileSegments(std::unique_ptr<PacketReader> reader) : reader_(std::move(reader)) {}

  std::optional<TCPSegment> next() override {
    Packet packet;
    std::optional<TCPSegment> segment;
    while (!segment) {
      if (!reader_->next(packet)) {
        finish();
        break;
      }
      packets_ = packet.place.number;
      take(packet, segment);
    }
    return segment;
  }

  std::optional<InputNote> nextNote() override {
    if (notesGiven_ == notes_.size()) return std::nullopt;
    return std::move(notes_[notesGiven_++]);
  }

  std::string_view format() const override { return reader_->format(); }
  std::uint64_t packets() const override { return packets_; }

 private:
  void take(const Packet& packet, std::optional<TCPSegment>& segment) {
    if (packet.problem != nullptr) return unreadable_.add(packet.place, packet.problem);
    const LayerResult result = read(packet, segment.emplace());
    if (result.outcome == LayerOutcome::read) return;
    segment.reset();
    if (result.outcome == LayerOutcome::unreadable) unreadable_.add(packet.place, result.reason);
    if (result.outcome == LayerOutcome::notReadHere) {
      notReadHere_.add(packet.place,
                       fmt::format("{} (link type {})", result.reason, packet.linkType));
    }
  }

  LayerResult read(const Packet& packet, TCPSegment& segment) {
    LayerBytes bytes{packet.bytes, packet.length};
    LayerResult result = readLinkLayer(packet.linkType, bytes);
    IPPacket ip;
    if (result.outcome == LayerOutcome::read) result = readIPPacket(bytes, ip);
    if (result.outcome == LayerOutcome::read && ip.isFragment) {
      result = fragments_.add(ip, packet.place);
      if (result.outcome == LayerOutcome::read) result = readExtensionHeaders(ip);
      if (ip.isFragment && result.outcome == LayerOutcome::read) {
        result = {LayerOutcome::unreadable, "a fragment stands within a fragment"};
      }
    }
    if (result.outcome == LayerOutcome::read) result = readTCPHeader(ip, segment);
    segment.place = packet.place;
    return result;
  }

  void finish() {
    if (std::exchange(finished_, true)) return;
    if (auto note = reader_->endNote()) notes_.push_back(std::move(*note));
    fragments_.finish();
    note(InputNoteKind::unreadablePart, unreadable_.packets, "packets that cannot be read",
         unreadable_.reason);
    note(InputNoteKind::unsupportedPackets, notReadHere_.packets,
         "packets of kinds that are not read here", notReadHere_.reason);
    note(InputNoteKind::unreadablePart, fragments_.incomplete(),
         "fragmented packets of which a part is missing", "");
    note(InputNoteKind::reassemblyLimit, fragments_.overLimits(),
         "fragmented packets that were given up to keep memory within bounds", "");
  }

  void note(InputNoteKind kind, const PacketCount& packets, std::string_view what,
            std::string_view reason) {
    if (packets.count == 0) return;
    notes_.push_back({.kind = kind,
                      .text = fmt::format("{}: {}, the first is packet {}{}{}", what, packets.count,
                                          packets.first.number, reason.empty() ? "" : ": ", reason),
                      .connection = {},
                      .direction = {},
                      .place = packets.first});
  }

  std::unique_ptr<PacketReader> reader_;
  IPFragments fragments_;
  LeftOut unreadable_;
  LeftOut notReadHere_;
  std::uint64_t packets_ = 0;
  bool finished_ = false;
  std::vector<InputNote> notes_;
  std::size_t notesGiven_ = 0;
};

}  // namespace

bool PacketSegments::recognises(ByteView beginning) {
  return beginsLikePcap(beginning) || beginsLikePcapng(beginning);
}

std::unique_ptr<PacketSegments> PacketSegments::open(std::shared_ptr<ByteSource> source,
                                                     ErrorSlot errorDescription) {
  const auto peeked = std::make_shared<PeekedSource>(std::move(source));
  const ByteView beginning = peeked->peek(kMagicSize);
  std::unique_ptr<PacketReader> reader;
  if (beginsLikePcap(beginning)) {
    reader = openPcap(peeked, errorDescription);
  } else if (beginsLikePcapng(beginning)) {
    reader = openPcapng(peeked, errorDescription);
  } else {
    fail(errorDescription, peeked->error().value_or("this is no packet file"));
  }
  if (reader == nullptr) return nullptr;
  return std::make_unique<FileSegments>(std::move(reader));
}

}  // namespace qv::capture
