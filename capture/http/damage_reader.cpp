#include "capture/http/damage_reader.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include <fmt/format.h>

#include "capture/counted.h"

namespace qv::capture {
namespace {

// Enough to recognise a TLS record by.
constexpr std::size_t kPeek = 3;

// A record header: a content type from 20 to 23, then version 3.0 to 3.4.
bool looksLikeTLS(ByteView bytes) {
  return bytes.size() >= kPeek && bytes[0] >= 20 && bytes[0] <= 23 && bytes[1] == 3 &&
         bytes[2] <= 4;
}

std::string damageText(DamageKind kind, std::uint64_t length) {
  switch (kind) {
    case DamageKind::noMessage:
      return length == 1 ? "1 byte that begins no message"
                         : fmt::format("{} bytes that begin no message", length);
    case DamageKind::looksLikeTLS:
      return fmt::format("{} bytes that look like TLS", length);
    case DamageKind::behindGap:
      return counted(length, "byte") + " of a message whose beginning is not in the capture";
    case DamageKind::givenUp:
      return counted(length, "byte") +
             " of a message that was given up to keep memory within bounds";
    case DamageKind::emptyLines:
      return counted(length, "byte") + " of empty lines after the last message";
  }
  return {};
}

}  // namespace

Damage damageOf(DamageKind kind, std::uint64_t begin, std::uint64_t end, bool mayHideMessages) {
  return {kind, damageText(kind, end - begin), begin, end - begin, mayHideMessages};
}

bool DamageReader::skip(StreamWindow& window, bool atEnd) {
  if (!kind_) {
    if (window.view().size() < kPeek && !atEnd) return false;
    kind_ = looksLikeTLS(window.view()) ? DamageKind::looksLikeTLS : DamageKind::noMessage;
  }
  const StartLineSearch::Result result = search_.advance(window.view(), atEnd);
  const ByteView skipped = window.view().first(result.length);
  mayHideMessages_ = mayHideMessages_ || std::any_of(skipped.begin(), skipped.end(), isLineEnd);
  window.consume(result.length);
  return result.found || atEnd;
}

Damage DamageReader::damage(std::uint64_t begin, std::uint64_t end) const {
  return damageOf(kind_.value_or(DamageKind::noMessage), begin, end, mayHideMessages_);
}

Damage emptyLinesAtEnd(std::uint64_t begin, std::uint64_t end) {
  return damageOf(DamageKind::emptyLines, begin, end, false);
}

}  // namespace qv::capture
