#include "capture/http/framing_fields.h"

#include <limits>
#include <string_view>

#include <fmt/format.h>

#include "capture/http/ascii_case.h"
#include "capture/http/framing_notes.h"

namespace qv::capture {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kBlanksAndLineEnds = " \t\r\n";

std::string_view trimmed(std::string_view text, std::string_view unwanted) {
  const std::size_t first = text.find_first_not_of(unwanted);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(unwanted) - first + 1);
}

// The place after the line end that ends the line at `position`.
std::size_t afterLine(std::string_view text, std::size_t position) {
  while (position < text.size() && text[position] != '\r' && text[position] != '\n') ++position;
  if (position == text.size()) return position;
  const bool pair =
      text[position] == '\r' && position + 1 < text.size() && text[position + 1] == '\n';
  return position + (pair ? 2 : 1);
}

bool isFold(std::string_view text, std::size_t position) {
  return position < text.size() && (text[position] == ' ' || text[position] == '\t');
}

struct Digits {
  bool readable = false;
  bool overflowed = false;
  std::uint64_t value = 0;
};

Digits decimalDigits(std::string_view text) {
  Digits result;
  constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();
  for (char letter : text) {
    if (letter < '0' || letter > '9') return {};
    const auto digit = static_cast<std::uint64_t>(letter - '0');
    if (result.value > (kLargest - digit) / 10) result.overflowed = true;
    result.value = result.overflowed ? kLargest : result.value * 10 + digit;
  }
  result.readable = !text.empty();
  return result;
}

// Reads the fields that concern framing, in the order in which they stand.
class FieldReader {
 public:
  explicit FieldReader(FramedMessage& message) : message_(message), text_(textOf(message.header)) {}

  FramingFields read() {
    std::size_t position = afterLine(text_, 0);
    while (position < text_.size()) position = readField(position);
    if (result_.contentLength) result_.contentLengthUnreadable = false;
    if (transferCodings_ && contentLengthSeen_) {
      note(FramingNoteKind::contentLengthBesideTransferEncoding,
           "Content-Length beside Transfer-Encoding; Transfer-Encoding decides", *transferCodings_);
    }
    return result_;
  }

 private:
  using Reading = void (FieldReader::*)(std::string_view item, ByteRange field);

  std::size_t readField(std::size_t position) {
    std::size_t end = afterLine(text_, position);
    const std::string_view line = text_.substr(position, end - position);
    const std::size_t colon = isFold(text_, position) ? std::string_view::npos : line.find(':');
    if (colon == std::string_view::npos) return end;
    const std::string_view name = trimmed(line.substr(0, colon), kBlanks);
    const bool isLength = equalsIgnoringCase(name, "Content-Length");
    if (!isLength && !equalsIgnoringCase(name, "Transfer-Encoding")) return end;

    const std::size_t firstEnd = end;
    while (isFold(text_, end)) end = afterLine(text_, end);
    const ByteRange field{position, end - position};
    if (end != firstEnd) {
      note(FramingNoteKind::foldedFramingField, fmt::format("{} is folded", name), field);
    }
    if (name.size() != colon) {
      note(FramingNoteKind::spaceBeforeColon,
           fmt::format("white space between {} and its colon", name), {position, colon});
    }
    readItems(text_.substr(position + colon + 1, end - position - colon - 1), field,
              isLength ? &FieldReader::readContentLength : &FieldReader::readCoding);
    return end;
  }

  // The items of a comma-separated value.
  void readItems(std::string_view value, ByteRange field, Reading reading) {
    for (;;) {
      const std::size_t comma = value.find(',');
      (this->*reading)(trimmed(value.substr(0, comma), kBlanksAndLineEnds), field);
      if (comma == std::string_view::npos) return;
      value.remove_prefix(comma + 1);
    }
  }

  void readContentLength(std::string_view item, ByteRange field) {
    contentLengthSeen_ = true;
    const bool sign = item.starts_with('+') || item.starts_with('-');
    if (sign) note(FramingNoteKind::contentLengthSigned, "Content-Length has a sign", field);
    const Digits digits = decimalDigits(item.starts_with('+') ? item.substr(1) : item);
    if (!digits.readable) {
      note(FramingNoteKind::contentLengthUnreadable, "Content-Length is no decimal number", field);
      result_.contentLengthUnreadable = true;
      return;
    }
    if (digits.overflowed) {
      note(FramingNoteKind::contentLengthHuge, "Content-Length exceeds 64 bits", field);
    }
    if (!result_.contentLength) {
      result_.contentLength = digits.value;
    } else if (*result_.contentLength == digits.value) {
      note(FramingNoteKind::contentLengthRepeated, "Content-Length stands more than once", field);
    } else {
      // The first one, because the first field of a name is also the one that is looked up when the
      // message is checked.
      note(FramingNoteKind::contentLengthDiffers,
           fmt::format("Content-Length {} and {} differ; the first is used", *result_.contentLength,
                       digits.value),
           field);
    }
  }

  void readCoding(std::string_view item, ByteRange field) {
    item = trimmed(item.substr(0, item.find(';')), kBlanksAndLineEnds);
    if (item.empty() || equalsIgnoringCase(item, "identity")) return;
    if (!transferCodings_) transferCodings_ = field;
    result_.chunked = equalsIgnoringCase(item, "chunked");
    result_.unknownCoding = !result_.chunked;
    if (result_.unknownCoding) {
      note(FramingNoteKind::unknownTransferCoding,
           "unknown transfer coding; the body is left in it", field);
    }
  }

  void note(FramingNoteKind kind, std::string_view text, ByteRange range) {
    addNote(message_.notes, kind, text, message_.headerOffset + range.offset, range.length);
  }

  FramedMessage& message_;
  std::string_view text_;
  FramingFields result_;
  bool contentLengthSeen_ = false;
  std::optional<ByteRange> transferCodings_;
};

}  // namespace

FramingFields readFramingFields(FramedMessage& message) {
  return FieldReader(message).read();
}

int statusCodeOf(ByteView header) {
  std::string_view line = textOf(header);
  line = line.substr(0, line.find_first_of("\r\n"));
  const std::size_t blank = line.find_first_of(kBlanks);
  if (blank == std::string_view::npos) return 0;
  line = trimmed(line.substr(blank), kBlanks);
  const Digits digits = decimalDigits(line.substr(0, line.find_first_of(kBlanks)));
  return digits.readable && digits.value <= 999 ? static_cast<int>(digits.value) : 0;
}

MessageKind messageKindOf(Direction direction, ByteView header) {
  if (direction == Direction::toAccessory) return MessageKind::request;
  const std::string_view text = textOf(header);
  if (text.starts_with("EVENT/")) return MessageKind::event;
  if (!text.starts_with("HTTP/")) return MessageKind::unknown;
  const int status = statusCodeOf(header);
  return status >= 100 && status < 200 ? MessageKind::informational : MessageKind::response;
}

}  // namespace qv::capture
