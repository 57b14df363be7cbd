// Files of the pcapng format (draft-ietf-opsawg-pcapng), which libpcap refuses when their
// interfaces differ in link type.
#include <algorithm>
#include <utility>
#include <vector>

#include "capture/io/source_buffer.h"
#include "capture/packets/packet_reader.h"
#include "capture/packets/pcapng_clock.h"
#include "capture/packets/wire_numbers.h"

namespace qv::capture {
namespace {

// Block types (section 11.1 of the draft, codes of the standardized blocks).
constexpr std::uint32_t kSectionHeader = 0x0a0d0d0a;  // reads the same in both byte orders
constexpr std::uint32_t kInterfaceDescription = 1;
constexpr std::uint32_t kObsoletePacket = 2;
constexpr std::uint32_t kSimplePacket = 3;
constexpr std::uint32_t kEnhancedPacket = 6;

constexpr std::uint32_t kByteOrderMagic = 0x1a2b3c4d;
constexpr std::uint16_t kMajorVersion = 1;

constexpr std::uint16_t kTimeResolution = 9;  // options of an interface
constexpr std::uint16_t kTimeOffset = 14;

// Type, length and length once more, which every block has, and what stands before the options or
// the packet.
constexpr std::size_t kBlock = 12;
constexpr std::size_t kBlockHeader = 8;
constexpr std::size_t kSectionFixed = 24;
constexpr std::size_t kInterfaceFixed = 16;
constexpr std::size_t kSimpleFixed = 12;
constexpr std::size_t kEnhancedFixed = 28;

// Larger blocks are passed over; no packet on a network is that large.
constexpr std::size_t kLargestBlock = std::size_t{1} << 20;
// Of one section; the rest is as good as not described.
constexpr std::size_t kMostInterfaces = 65536;

struct Interface {
  std::uint32_t linkType = 0;
  std::uint32_t snapshotLength = 0;  // 0 for no limit
  PcapngClock clock;
};

class PcapngReader final : public PacketReader {
 public:
  explicit PcapngReader(std::shared_ptr<ByteSource> source) : buffer_(std::move(source)) {}

  bool open(ErrorSlot errorDescription) {
    Packet none;
    if (readBlock(none) == Step::next) return true;
    const bool isCut = !endNote_ || endNote_->kind == InputNoteKind::truncated;
    return fail(errorDescription,
                isCut ? buffer_.source().error().value_or(kHeaderCut) : endNote_->text);
  }

  bool next(Packet& packet) override {
    Step step = Step::next;
    while (step == Step::next && !ended_) step = readBlock(packet);
    return step == Step::packet;
  }

  std::optional<InputNote> endNote() const override { return endNote_; }
  std::string_view format() const override { return "pcapng"; }

 private:
  enum class Step { next, packet, end };

  Step readBlock(Packet& packet) {
    blockBegin_ += std::exchange(blockLength_, 0);
    if (!buffer_.skip(blockBegin_ - buffer_.position())) return cut();
    const ByteView header = buffer_.atLeast(kBlock);
    if (header.empty()) {
      ended_ = true;
      return Step::end;
    }
    if (header.size() < kBlock) return cut();
    if (network32(header, 0) == kSectionHeader) {
      bigEndian_ = network32(header, kBlockHeader) == kByteOrderMagic;
      if (!bigEndian_ && number<std::uint32_t>(header, kBlockHeader) != kByteOrderMagic) {
        return damaged("a section begins without its byte-order magic");
      }
    }
    const auto type = number<std::uint32_t>(header, 0);
    const auto length = number<std::uint32_t>(header, 4);
    if (length < kBlock || length % 4 != 0) return damaged("the length of the block is impossible");
    const std::size_t held = std::min<std::size_t>(length, kLargestBlock);
    const ByteView block = buffer_.atLeast(held);
    if (block.size() < held) return cut();
    const bool whole = held == length;
    if (whole && number<std::uint32_t>(block, length - 4) != length) {
      return damaged("the two lengths of the block differ");
    }
    blockLength_ = length;
    return readBody(type, block.first(whole ? held - 4 : held), whole, packet);
  }

  // `block` begins at the block's type and ends before its second length.
  Step readBody(std::uint32_t type, ByteView block, bool whole, Packet& packet) {
    switch (type) {
      case kSectionHeader:
        if (block.size() < kSectionFixed) return damaged("the section header is too short");
        if (number<std::uint16_t>(block, 12) != kMajorVersion) {
          return damaged("the version of the section is not 1");
        }
        interfaces_.clear();
        return Step::next;
      case kInterfaceDescription:
        if (block.size() < kInterfaceFixed) return damaged("the interface block is too short");
        if (interfaces_.size() < kMostInterfaces) interfaces_.push_back(interfaceOf(block));
        return Step::next;
      case kSimplePacket:
      case kEnhancedPacket:
      case kObsoletePacket:
        ++packets_;
        packet = {};
        packet.place.number = packets_;
        packet.problem = whole ? readPacket(type, block, packet) : "it is larger than 1 MiB";
        return Step::packet;
      default:
        return Step::next;
    }
  }

  // Answers what is wrong with the packet, or null.
  const char* readPacket(std::uint32_t type, ByteView block, Packet& packet) const {
    const bool simple = type == kSimplePacket;
    const std::size_t fixed = simple ? kSimpleFixed : kEnhancedFixed;
    if (block.size() < fixed) return "its block is too short";
    const ByteView data = block.subspan(fixed);
    std::size_t index = 0;
    if (type == kEnhancedPacket) index = number<std::uint32_t>(block, 8);
    if (type == kObsoletePacket) index = number<std::uint16_t>(block, 8);
    if (index >= interfaces_.size()) return "its interface is not described";
    const Interface& interface = interfaces_[index];
    packet.linkType = interface.linkType;
    packet.length = number<std::uint32_t>(block, simple ? 8 : 24);
    std::size_t captured = packet.length;
    if (simple) {
      if (interface.snapshotLength != 0) {
        captured = std::min<std::size_t>(captured, interface.snapshotLength);
      }
    } else {
      captured = number<std::uint32_t>(block, 20);
      const std::uint64_t high = number<std::uint32_t>(block, 12);
      packet.place.timeNs = interface.clock.timeNs(high << 32 | number<std::uint32_t>(block, 16));
    }
    if (captured > data.size()) return "it is longer than its block";
    packet.bytes = data.first(captured);
    packet.length = std::max(packet.length, captured);
    return nullptr;
  }

  Interface interfaceOf(ByteView block) const {
    Interface interface {
      .linkType = number<std::uint16_t>(block, 8),
      .snapshotLength = number<std::uint32_t>(block, 12), .clock = {}
    };
    ByteView options = block.subspan(kInterfaceFixed);
    while (options.size() >= 4) {
      const auto code = number<std::uint16_t>(options, 0);
      const std::size_t length = number<std::uint16_t>(options, 2);
      const std::size_t padded = (length + 3) / 4 * 4;
      options = options.subspan(4);
      if (code == 0 || padded > options.size()) break;
      if (code == kTimeResolution && length == 1) interface.clock.resolution = options[0];
      if (code == kTimeOffset && length == 8) {
        interface.clock.offsetSeconds =
            static_cast<std::int64_t>(number<std::uint64_t>(options, 0));
      }
      options = options.subspan(padded);
    }
    return interface;
  }

  Step cut() {
    ended_ = true;
    endNote_ = endsInside(blockBegin_, buffer_.end(), packets_, buffer_.source());
    return Step::end;
  }

  Step damaged(std::string_view reason) {
    ended_ = true;
    endNote_ = unreadableFrom(blockBegin_, packets_, reason);
    return Step::end;
  }

  template <class Number>
  Number number(ByteView bytes, std::size_t offset) const {
    return numberAt<Number>(bytes, offset, bigEndian_);
  }

  SourceBuffer buffer_;
  std::uint64_t blockBegin_ = 0;
  std::uint64_t blockLength_ = 0;  // of the block that was read last
  bool bigEndian_ = false;
  std::vector<Interface> interfaces_;
  std::uint64_t packets_ = 0;
  bool ended_ = false;
  std::optional<InputNote> endNote_;
};

}  // namespace

bool beginsLikePcapng(ByteView beginning) {
  return beginning.size() >= 4 && network32(beginning, 0) == kSectionHeader;
}

std::unique_ptr<PacketReader> openPcapng(std::shared_ptr<ByteSource> source,
                                         ErrorSlot errorDescription) {
  auto reader = std::make_unique<PcapngReader>(std::move(source));
  if (!reader->open(errorDescription)) return nullptr;
  return reader;
}

}  // namespace qv::capture
