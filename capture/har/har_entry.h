#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "capture/http/framed_message.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/failure.h"

namespace qv::capture {

// One entry of an HTTP archive (HAR 1.2), turned back into the messages that it was made from.
//
// Header blocks are put together again: METHOD, the target in origin-form with its escapes as they
// are (RFC 9112, section 3.2.1), the version where it is HTTP/1.x and HTTP/1.1 for any other, and
// the field lines in their order. Pseudo fields (":path") are dropped. What har_body.h lists makes
// a message bodyDamaged. The body that an answer to HEAD or a 304 is recorded with comes from a
// cache and is dropped. Every offset is that of the entry.
struct HAREntry {
  std::string connection;  // the name that the entry gives; empty when it gives none
  std::string server;      // "192.0.2.7:51826"; empty when the entry does not say
  std::optional<std::int64_t> requestTimeNs;
  std::optional<std::int64_t> responseTimeNs;
  bool isHTTP = true;  // otherwise nothing else is there
  FramedMessage request;
  std::optional<FramedMessage> response;  // null when nothing was answered (status 0)
};

// Null, with a text such as "response.status is no number", when the entry is no JSON, lacks what
// makes a message, or holds what cannot stand in a header block. `offset` is that of the text.
std::optional<HAREntry> readHAREntry(ByteView text, std::uint64_t offset,
                                     ErrorSlot errorDescription = nullptr);

}  // namespace qv::capture
