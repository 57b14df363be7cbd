#pragma once

#include <memory>

#include "capture/capture_reader.h"
#include "capture/http/http_framer.h"
#include "capture/io/byte_source.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// Reads `capture` records (qv.capture/1, see docs/captures.md): a JSON object a line. Each line is
// told as soon as it is there. A line that cannot be read costs that line; where it may have held a
// message, the next response of the connection is judged only if its request is certain all the
// same.
//
// The lines of a connection stand in the order in which their messages went over the wire, so a
// response answers the oldest request before it that has no response yet. A connection whose record
// says "paired" tells itself what each response answers.
//
// Connections are numbered in the order in which they first appear. Of more than 4,096 at a time
// the one that was quiet longest is closed.
QV_EXPORT std::unique_ptr<CaptureReader> openCaptureRecords(std::shared_ptr<ByteSource> source,
                                                            FramingLimits limits = {});

}  // namespace qv::capture
