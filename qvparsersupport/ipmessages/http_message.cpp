#include "qvparsersupport/ipmessages/http_message.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace qv {

namespace {

bool isBlank(char character) {
  return character == ' ' || character == '\t';
}

// What stands before the first of the two characters; the whole text when it holds neither.
std::string_view before(std::string_view text, char one, char other) {
  const std::string_view shorter = text.substr(0, text.find(one));
  return shorter.substr(0, shorter.find(other));
}

// The text up to the first blank, which is taken off `rest` with it; all of it, and then no rest,
// when there is none.
std::string_view takeItem(std::optional<std::string_view>& rest) {
  const std::string_view text = *rest;
  const std::string_view item = before(text, ' ', '\t');
  rest.reset();
  if (item.size() < text.size()) rest = text.substr(item.size() + 1);
  return item;
}

bool isASCII(ByteView bytes) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::uint64_t seen = 0;
  std::size_t index = 0;
  for (std::uint64_t word = 0; bytes.size() - index >= sizeof word; index += sizeof word) {
    std::memcpy(&word, bytes.data() + index, sizeof word);
    seen |= word;
  }
  for (; index < bytes.size(); ++index) seen |= bytes[index];
  return (seen & kHighBits) == 0;
}

// Cuts a text into lines that end at CR, at LF, or at the pair CR LF. Remembers the next CR and the
// next LF, so that walking the text reads each byte once for either, whichever ends its lines.
class LineReader {
 public:
  struct Line {
    std::size_t end;   // of the line's text
    std::size_t next;  // the first byte after its line end
  };

  explicit LineReader(std::string_view text)
      : text_(text), nextCR_(text.find('\r')), nextLF_(text.find('\n')) {}

  // The line that begins there; null when no line end follows. Never goes back.
  std::optional<Line> lineAt(std::size_t begin) {
    if (nextCR_ < begin) nextCR_ = text_.find('\r', begin);
    if (nextLF_ < begin) nextLF_ = text_.find('\n', begin);
    const std::size_t end = std::min(nextCR_, nextLF_);
    if (end == std::string_view::npos) return std::nullopt;
    const bool pair = end == nextCR_ && nextLF_ == end + 1;
    return Line{end, end + (pair ? 2 : 1)};
  }

 private:
  std::string_view text_;
  std::size_t nextCR_;
  std::size_t nextLF_;
};

struct StartLine {
  ByteRange range;
  std::optional<std::string_view> item0;
  std::optional<std::string_view> item1;
  std::optional<std::string_view> item2;  // with the blanks that stood in it
};

// Splits the first line at single blanks; two in a row give an empty item. An empty header has no
// first line and so no items, whereas an empty first line has one, the empty text.
StartLine startLineOf(std::string_view header) {
  StartLine result;
  std::optional<std::string_view> rest = before(header, '\n', '\r');
  result.range = {0, rest->size()};
  if (header.empty()) return result;
  result.item0 = takeItem(rest);
  if (rest) result.item1 = takeItem(rest);
  result.item2 = rest;
  return result;
}

std::optional<std::size_t> indexOfField(const std::optional<QVHTTPHeaderFields>& fields,
                                        std::string_view name) {
  if (!fields) return std::nullopt;
  for (std::size_t index = 0; index < fields->size(); ++index) {
    if ((*fields)[index].name == name) return index;
  }
  return std::nullopt;
}

}  // namespace

QVHTTPHeaderFields::Field QVHTTPHeaderFields::operator[](std::size_t index) const {
  const Place& place = fields_[index];
  return {{text_.get() + place.name, place.nameLength},
          {text_.get() + place.value, place.valueLength}};
}

ByteRange QVHTTPHeaderFields::rangeOf(std::size_t index) const {
  const Place& place = fields_[index];
  return {place.name, place.value + place.valueLength - place.name};
}

ByteRange QVHTTPHeaderFields::valueRangeOf(std::size_t index) const {
  return {fields_[index].value, fields_[index].valueLength};
}

QVHTTPHeaderFields QVHTTPHeaderFields::fromPairs(
    const std::vector<std::pair<std::string, std::string>>& pairs) {
  QVHTTPHeaderFields result;
  std::string text;
  for (const auto& [name, value] : pairs) {
    const std::size_t begin = text.size();
    text += name;
    text += ": ";
    result.fields_.push_back({begin, name.size(), text.size(), value.size()});
    text += value;
    text += "\r\n";
  }
  const auto owned = std::make_shared_for_overwrite<char[]>(text.size());
  std::copy(text.begin(), text.end(), owned.get());
  result.text_ = owned;
  return result;
}

std::optional<QVHTTPHeaderFields> QVHTTPMessage::_parseHTTPHeader(ByteView header) {
  if (!isASCII(header)) return std::nullopt;
  QVHTTPHeaderFields result;
  if (header.empty()) return result;
  const auto owned = std::make_shared_for_overwrite<char[]>(header.size());
  std::memcpy(owned.get(), header.data(), header.size());
  result.text_ = owned;
  // Room for the fields of a usual message, so that it costs one allocation; never more than the
  // text could hold.
  result.fields_.reserve(std::min<std::size_t>(header.size() / 16, 12));

  const std::string_view text(owned.get(), header.size());
  LineReader lines(text);
  std::size_t begin = 0;
  while (auto line = lines.lineAt(begin)) {
    const std::size_t name = std::exchange(begin, line->next);
    const std::size_t colon = text.substr(name, line->end - name).find(':');
    if (colon == std::string_view::npos) continue;
    std::size_t value = name + colon + 1;
    while (value < line->end && isBlank(text[value])) ++value;
    // A continuation line that has no line end is an unterminated last line like any other: it is
    // dropped, and the field stays as it was before it.
    while (line->next < text.size() && isBlank(text[line->next])) {
      const auto continuation = lines.lineAt(line->next);
      if (!continuation) break;
      line = continuation;
    }
    result.fields_.push_back({name, colon, value, line->end - value});
    begin = line->next;
  }
  return result;
}

std::shared_ptr<QVHTTPMessage> QVHTTPMessage::initWithHeader(ByteView header,
                                                             std::optional<ByteView> body) {
  auto message = std::make_shared<QVHTTPMessage>();
  if (body) message->body_.emplace(body->begin(), body->end());
  message->headerFields_ = _parseHTTPHeader(header);
  const StartLine line = startLineOf(textOf(header));
  message->startLineRange_ = line.range;
  if (!message->headerFields_) return message;
  message->headerLineItem0_ = line.item0;
  message->headerLineItem1_ = line.item1;
  message->headerLineItem2_ = line.item2;
  if (message->headerLineItem2_) {
    std::replace(message->headerLineItem2_->begin(), message->headerLineItem2_->end(), '\t', ' ');
  }
  if (line.item1) {
    message->item1Range_ = ByteRange{line.item0->size() + 1, line.item1->size()};
  }
  return message;
}

std::optional<std::string_view> QVHTTPMessage::headerValueViewForKey(std::string_view key) const {
  const auto index = indexOfField(headerFields_, key);
  if (!index) return std::nullopt;
  return (*headerFields_)[*index].value;
}

std::optional<std::string> QVHTTPMessage::headerValueForKey(std::string_view key) const {
  const auto value = headerValueViewForKey(key);
  return value ? std::optional(std::string(*value)) : std::nullopt;
}

std::optional<std::string> QVHTTPMessage::contentType() const {
  return headerValueForKey("Content-Type");
}

std::optional<ByteRange> QVHTTPMessage::valueRangeForKey(std::string_view key) const {
  const auto index = indexOfField(headerFields_, key);
  if (!index) return std::nullopt;
  return headerFields_->valueRangeOf(*index);
}

}  // namespace qv
