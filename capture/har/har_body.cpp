#include "capture/har/har_body.h"

#include <utility>

#include "capture/http/ascii_case.h"
#include "qvparsersupport/common/base64.h"

namespace qv::capture {

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

// Null when the encoding cannot be undone.
std::optional<Bytes> decoded(std::string_view text, std::string_view encoding) {
  if (equalsIgnoringCase(encoding, "base64")) return base64Decoded(text);
  if (!encoding.empty()) return std::nullopt;
  const ByteView bytes = bytesOf(text);
  return Bytes(bytes.begin(), bytes.end());
}

// Of a body that is recorded as an empty text, or not at all.
bool isMissing(const RecordedBody& recorded, const AnnouncedBody& announced) {
  if (recorded.wasSent || recorded.size.value_or(0) > 0) return true;
  if (announced.length && !announced.hasTransferEncoding) return *announced.length > 0;
  if (recorded.text) return false;
  // Many exporters write 0 for a size that they do not know.
  return announced.hasTransferEncoding || (recorded.isUsual && !recorded.size);
}

bool isOfOtherLength(std::uint64_t length, const RecordedBody& recorded,
                     const AnnouncedBody& announced) {
  if (recorded.size.value_or(0) > 0 && recorded.size != length) return true;
  return !announced.hasTransferEncoding && announced.length && announced.length != length;
}

bool wasChanged(ByteView body, const RecordedBody& recorded, const AnnouncedBody& announced) {
  const bool isText = recorded.encoding.empty();
  if (isText && recorded.text->find(kReplacementCharacter) != std::string_view::npos) return true;
  if (isOfOtherLength(body.size(), recorded, announced)) return true;
  return announced.hasContentEncoding && (announced.hasTransferEncoding || !announced.length);
}

BodyFraming framingOf(const AnnouncedBody& announced) {
  if (announced.hasTransferEncoding) return BodyFraming::chunked;
  return announced.length ? BodyFraming::contentLength : BodyFraming::none;
}

}  // namespace

void takeRecordedBody(const RecordedBody& recorded, const AnnouncedBody& announced,
                      FramedMessage& message) {
  const auto damage = [&] { message.completeness = Completeness::bodyDamaged; };
  if (recorded.text.value_or("").empty()) {
    if (isMissing(recorded, announced)) damage();
    return;
  }
  std::optional<Bytes> body = decoded(*recorded.text, recorded.encoding);
  if (!body) return damage();
  if (wasChanged(*body, recorded, announced)) damage();
  message.framing = framingOf(announced);
  message.body = std::move(body);
}

}  // namespace qv::capture
