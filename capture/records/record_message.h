#pragma once

#include "capture/http/framed_message.h"
#include "capture/http/http_framer.h"
#include "capture/records/record_connection.h"
#include "capture/records/record_fields.h"

namespace qv::capture {

// The message of a `capture` record, at offset 0. Only of use when the fields have no error.
FramedMessage messageOfRecord(RecordFields& fields, FramingLimits limits);

ToldPairing pairingOfRecord(RecordFields& fields);

}  // namespace qv::capture
