#include "capture/http/early_end.h"

#include <fmt/format.h>

#include "capture/counted.h"
#include "capture/http/framing_fields.h"

namespace qv::capture {

std::optional<EarlyEnd> earlyEndOf(const FramedMessage& message) {
  if (cutKindOf(message.completeness) != CutKind::byClose) return std::nullopt;
  const std::string place = completenessText(message.completeness);
  const bool isInHeader = message.completeness == Completeness::closedInHeader;
  const std::uint64_t came = isInHeader     ? message.header.size()
                             : message.body ? message.body->size()
                                            : 0;
  const char* due = isInHeader ? "an empty line behind the header" : "a last chunk of size 0";
  if (message.framing == BodyFraming::contentLength) {
    FramedMessage read;
    read.direction = message.direction;
    read.header = message.header;
    const std::uint64_t length = readFramingFields(read).contentLength.value_or(0);
    return EarlyEnd{fmt::format("{}: {} of {} came", place, came, counted(length, "byte")),
                    counted(length, "byte"), counted(came, "byte")};
  }
  return EarlyEnd{fmt::format("{}: {} came, without {}", place, counted(came, "byte"), due), due,
                  counted(came, "byte")};
}

}  // namespace qv::capture
