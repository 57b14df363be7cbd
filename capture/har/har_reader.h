#pragma once

#include <memory>

#include "capture/capture_reader.h"
#include "capture/http/http_framer.h"
#include "capture/io/byte_source.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// Reads an HTTP archive (HAR 1.2) entry by entry: memory holds one entry, and an entry comes out
// when its closing brace was read. har_entry.h says what becomes of one, har_body.h which bodies
// are not to be judged; the first of those turns the fidelity from reconstructed into damaged.
//
// An entry gives a request and the response that answers it, both with the entry's number (from 1)
// and place; an answer to it does not come where its status is 0. A bad entry, and one larger than
// `limits.messageBytes`, is a note of kind unreadablePart. Around the entries the text is read by
// its brackets and strings alone. Where it breaks off or goes wrong a note of kind truncated says
// so, and what stands behind is not read.
//
// Entries that name the same `connection` and server stand on one connection; those that name none
// on one for each server. Of many connections the one opened first is closed; should it be named
// again it is another one. An archive holds no event notifications, which the last note says.
QV_EXPORT std::unique_ptr<CaptureReader> openHAR(std::shared_ptr<ByteSource> source,
                                                 FramingLimits limits = {});

}  // namespace qv::capture
