#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "capture/capture_reader.h"
#include "capture/http/http_framer.h"
#include "capture/io/byte_source.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"

namespace qv::capture {

enum class CaptureForm : std::uint8_t {
  automatic,  // told by the first bytes, never by a name
  http,       // the raw bytes of one direction of one connection
  ndjson,     // `capture` records
  har,
  pcap,  // or pcapng
};

struct OpenOptions {
  FramingLimits limits;
  std::optional<std::uint16_t> accessoryPort;  // for packet files
  std::string advice;                          // for otherForm
};

// Opens a capture of the given form, compressed with gzip or not. Looks at no more bytes than it
// takes to tell the form apart, so a pipe can be opened before there is much in it.
//
// An empty input may be a stream, or records, and has no format. A JSON object is an HTTP archive
// when it has the key "log", and a record when it has one of a record's keys before. The direction
// of a raw stream is told by its first message; where one is asked for that begins with something
// else, by the first start line in its beginning.
//
// Null, with a text, when the form cannot be told, or is not the given one as far as that shows at
// the beginning.
QV_EXPORT std::unique_ptr<CaptureReader> openCapture(std::shared_ptr<ByteSource> source,
                                                     CaptureForm form = CaptureForm::automatic,
                                                     const OpenOptions& options = {},
                                                     ErrorSlot errorDescription = nullptr);

// Tells what a source begins like where that is not the form that is asked for, with the advice
// behind it; null where it may be that form. A first line that is cut, and bytes before the first
// start line of a stream, contradict nothing. Of a JSON object any key of the form is enough.
QV_EXPORT std::optional<std::string> otherForm(PeekedSource& source, CaptureForm asked,
                                               const std::string& advice);

// The form of a file that nobody called a capture: null where it does not show clearly, by a JSON
// key or by a start line at once. With a form that is asked for, whether it may be that one.
QV_EXPORT std::optional<CaptureForm> clearForm(PeekedSource& source, CaptureForm asked);

}  // namespace qv::capture
