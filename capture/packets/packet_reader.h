#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "capture/capture_reader.h"
#include "capture/io/byte_source.h"
#include "capture/tcp/tcp_segment.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/failure.h"

namespace qv::capture {

// A packet as it stands in a file.
struct Packet {
  CapturePlace place;
  std::uint32_t linkType = 0;  // a LINKTYPE_ value, or a DLT_ value where libpcap tells that
  ByteView bytes;              // what was captured; valid until the next packet is read
  std::size_t length = 0;      // on the wire
  // Why there are no bytes, although reading goes on behind the packet; null when there are.
  const char* problem = nullptr;
};

// The packets of a file in its order.
class PacketReader {
 public:
  virtual ~PacketReader() = default;
  // False at the end of the file and where it cannot be read on.
  virtual bool next(Packet& packet) = 0;
  // Why the last `next` did not end with the last packet; null when it did.
  virtual std::optional<InputNote> endNote() const = 0;
  virtual std::string_view format() const = 0;
};

inline constexpr const char* kHeaderCut = "the file ends inside its header";

// What such notes say: the file ends inside of what begins at `begin`.
InputNote endsInside(std::uint64_t begin, std::uint64_t end, std::uint64_t packets,
                     const ByteSource& source);
InputNote unreadableFrom(std::uint64_t begin, std::uint64_t packets, std::string_view reason);

// The two kinds of files. Null, with a text, when the file header cannot be read.
std::unique_ptr<PacketReader> openPcap(std::shared_ptr<ByteSource> source,
                                       ErrorSlot errorDescription);
std::unique_ptr<PacketReader> openPcapng(std::shared_ptr<ByteSource> source,
                                         ErrorSlot errorDescription);

// Told by the first four bytes.
bool beginsLikePcap(ByteView beginning);
bool beginsLikePcapng(ByteView beginning);

}  // namespace qv::capture
