#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/capture_reader.h"
#include "capture/http/http_framer.h"
#include "capture/io/byte_source.h"
#include "capture/packets/packet_segments.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"

namespace qv::capture {

// The HTTP messages on the TCP connections of a packet file, pcap or pcapng; connections are told
// apart and followed whatever order their packets have in the file.
//
// TCPConnections puts the bytes in order; HTTPConnections tells what becomes of `accessoryPort`.
//
// A message's place is the packet that holds its first byte; offsets count the bytes of the stream
// of its direction from where the capture of it begins.
//
// Null, with a text, when the source does not begin like a packet file.
QV_EXPORT std::unique_ptr<CaptureReader> openPacketCapture(
    std::shared_ptr<ByteSource> source, std::optional<std::uint16_t> accessoryPort = std::nullopt,
    FramingLimits limits = {}, ErrorSlot errorDescription = nullptr);

// The same of files that continue each other, as a capture program writes them one behind the
// other.
QV_EXPORT std::unique_ptr<CaptureReader> openPacketPieces(
    std::vector<std::string> paths, PieceOpening open,
    std::optional<std::uint16_t> accessoryPort = std::nullopt, FramingLimits limits = {});

}  // namespace qv::capture
