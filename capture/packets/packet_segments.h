#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/capture_reader.h"
#include "capture/io/byte_source.h"
#include "capture/tcp/tcp_segment.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"

namespace qv::capture {

// Makes the source of a file whose turn it is; never null, what cannot be opened is its error.
using PieceOpening = std::function<std::shared_ptr<ByteSource>(const std::string& path)>;

// The TCP segments of a packet file, pcap or pcapng, in the order of the file. Packets of other
// kinds are passed over; fragments of IP packets are put together. An error of the source ends the
// file like its end; ask the source for it.
class QV_EXPORT PacketSegments {
 public:
  // True for bytes that begin like a packet file; four of them decide.
  static bool recognises(ByteView beginning);
  // Null, with a text, when the source does not begin like a packet file.
  static std::unique_ptr<PacketSegments> open(std::shared_ptr<ByteSource> source,
                                              ErrorSlot errorDescription = nullptr);
  // Of files that continue each other, with numbers of packets that go on. Notes name the file.
  static std::unique_ptr<PacketSegments> openPieces(std::vector<std::string> paths,
                                                    PieceOpening open);
  virtual ~PacketSegments() = default;

  // Null at the end of the file and where it cannot be read on.
  virtual std::optional<TCPSegment> next() = 0;
  // What there is to say about the packets read so far, each once; after the end, about the file.
  virtual std::optional<InputNote> nextNote() = 0;

  virtual std::string_view format() const = 0;  // "pcap" or "pcapng"
  virtual std::uint64_t packets() const = 0;    // that were read
};

}  // namespace qv::capture
