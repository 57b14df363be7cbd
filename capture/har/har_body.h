#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "capture/http/framed_message.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/value.h"

namespace qv::capture {

// What the header of a message announces about its body.
struct AnnouncedBody {
  std::optional<std::uint64_t> length;  // the first Content-Length, where it can be read
  bool hasTransferEncoding = false;
  bool hasContentEncoding = false;  // other than identity
};

// What an entry says about a body: `postData` or `content`, and the sizes that stand for it.
struct RecordedBody {
  std::optional<std::string_view> text;  // null when the entry holds none
  std::string_view encoding;
  std::optional<std::uint64_t> size;  // of the decoded body; null when it is unknown
  bool wasSent = false;               // something else says that there was one
  bool isUsual = false;               // messages of this kind may have one
};

// Puts a recorded body into the message, and says bodyDamaged where it may not be the one that was
// sent, so that nobody is blamed for it:
//   the entry leaves out a body that it or the header announces, or one that the message may have
//   had where neither of them says that it was empty;
//   base-64 that cannot be read, or an encoding of another name (no body is delivered);
//   a text with U+FFFD, which stands for bytes that were no text;
//   a length that differs from the recorded one, or from Content-Length without Transfer-Encoding;
//   a Content-Encoding, unless the body has the announced length: it was undone.
// That a chunked body is recorded without its chunk lines is as it should be.
void takeRecordedBody(const RecordedBody& recorded, const AnnouncedBody& announced,
                      FramedMessage& message);

}  // namespace qv::capture
