#include "capture/har/json_entry_scanner.h"

#include <array>
#include <string_view>
#include <utility>

#include "capture/io/json_bytes.h"
#include "qvparsersupport/common/json_reader.h"

namespace qv::capture {

namespace {

// "entries" with each letter written as an escape.
constexpr std::size_t kLongestKey = 42;

// For each byte whether a run of bytes that need no look ends there.
using Stops = std::array<bool, 256>;
constexpr Stops stopsAt(std::string_view letters) {
  Stops stops{};
  for (const char letter : letters) stops[static_cast<std::uint8_t>(letter)] = true;
  return stops;
}
constexpr Stops kStringStops = stopsAt("\"\\");
constexpr Stops kBetweenStops = stopsAt("\"{}[]");
constexpr Stops kScalarStops = stopsAt("\"{}[],: \t\r\n");

std::size_t runEnd(ByteView bytes, std::size_t at, const Stops& stops) {
  while (at < bytes.size() && !stops[bytes[at]]) ++at;
  return at;
}

}  // namespace

std::size_t JSONValueEnd::advance(ByteView bytes) {
  std::size_t at = 0;
  while (at < bytes.size() && part_ != Part::end) {
    switch (part_) {
      case Part::start:
        part_ = kBetweenStops[bytes[at]] ? Part::between : Part::scalar;
        break;
      case Part::scalar:
        at = runEnd(bytes, at, kScalarStops);
        if (at < bytes.size()) part_ = Part::end;
        break;
      case Part::string:
        at = runEnd(bytes, at, kStringStops);
        if (at == bytes.size()) break;
        if (bytes[at++] == '\\') {
          part_ = Part::escape;
        } else {
          part_ = depth_ == 0 ? Part::end : Part::between;
        }
        break;
      case Part::escape:
        ++at;
        part_ = Part::string;
        break;
      case Part::between:
        at = runEnd(bytes, at, kBetweenStops);
        if (at == bytes.size()) break;
        switch (bytes[at++]) {
          case '"':
            part_ = Part::string;
            break;
          case '{':
          case '[':
            ++depth_;
            break;
          default:
            if (depth_ <= 1) part_ = Part::end;
            --depth_;
        }
        break;
      case Part::end:
        break;
    }
  }
  return at;
}

void JSONEntryScanner::feed(ByteView bytes) {
  window_.consume(std::exchange(given_, 0));
  if (state_ == State::open || state_ == State::closed) window_.append(bytes);
}

std::optional<ScannedEntry> JSONEntryScanner::next() {
  window_.consume(std::exchange(given_, 0));
  if (place_ != Place::entry) scanAround();
  if (place_ != Place::entry) return std::nullopt;
  return scanEntry();
}

// Up to the first byte of an entry or to the end of what is there.
void JSONEntryScanner::scanAround() {
  if (place_ == Place::mark && !skipMark()) return;
  const auto goesOn = [&] { return state_ == State::open || state_ == State::closed; };
  while (goesOn() && place_ != Place::entry && !window_.empty()) {
    const ByteView bytes = window_.view();
    if (place_ == Place::passing) {
      window_.consume(value_.advance(bytes));
      if (value_.ended()) place_ = Place::comma;
    } else if (place_ != Place::insideKey && isBlank(bytes[0])) {
      window_.consume(1);
    } else {
      take(static_cast<char>(bytes[0]));
      const bool isPartOfValue = place_ == Place::passing || place_ == Place::entry;
      if (goesOn() && !isPartOfValue) window_.consume(1);
    }
  }
}

// False when too few bytes are there to tell.
bool JSONEntryScanner::skipMark() {
  const std::string_view text = textOf(window_.view());
  if (text.size() < kByteOrderMark.size() && kByteOrderMark.starts_with(text)) return false;
  if (text.starts_with(kByteOrderMark)) window_.consume(kByteOrderMark.size());
  place_ = Place::value;
  return true;
}

void JSONEntryScanner::take(char byte) {
  switch (place_) {
    case Place::firstKey:
      if (byte == '}') return leave();
      [[fallthrough]];
    case Place::key:
      if (byte != '"') return stop(State::broken);
      key_.clear();
      place_ = Place::insideKey;
      return;
    case Place::insideKey:
      return takeKeyByte(byte);
    case Place::colon:
      if (byte != ':') return stop(State::broken);
      place_ = Place::value;
      return;
    case Place::firstEntry:
      if (byte == ']') return leave();
      return takeValue(byte);
    case Place::value:
      return takeValue(byte);
    case Place::comma:
      if (byte == (level_ == kEntries ? ']' : '}')) return leave();
      if (byte != ',') return stop(State::broken);
      place_ = level_ == kEntries ? Place::value : Place::key;
      return;
    case Place::end:
      return stop(State::overrun);
    case Place::mark:
    case Place::passing:
    case Place::entry:
      return;
  }
}

void JSONEntryScanner::takeValue(char byte) {
  if (level_ == kOutside) {
    return byte == '{' ? enter(kDocument, Place::firstKey) : stop(State::noObject);
  }
  if (level_ == kDocument && keyIs("log")) {
    return byte == '{' ? enter(kLog, Place::firstKey) : stop(State::noLog);
  }
  if (level_ == kLog && keyIs("entries")) {
    sawEntries_ = sawEntries_ || byte == '[';
    return byte == '[' ? enter(kEntries, Place::firstEntry) : stop(State::noList);
  }
  if (std::string_view(",:]}").find(byte) != std::string_view::npos) return stop(State::broken);
  value_ = JSONValueEnd();
  place_ = level_ == kEntries ? Place::entry : Place::passing;
  entryOffset_ = window_.offset();
  entryLength_ = 0;
}

void JSONEntryScanner::takeKeyByte(char byte) {
  if (byte == '"' && !isEscaped_) {
    place_ = Place::colon;
    return;
  }
  isEscaped_ = byte == '\\' && !isEscaped_;
  if (key_.size() <= kLongestKey) key_.push_back(byte);
}

bool JSONEntryScanner::keyIs(const char* name) const {
  if (key_.find('\\') == std::string::npos) return key_ == name;
  const std::string token = '"' + key_ + '"';
  const JSONParseResult read = parseJSON(bytesOf(token));
  return read.value && read.value->asString() == std::string_view(name);
}

void JSONEntryScanner::enter(Level level, Place first) {
  level_ = level;
  place_ = first;
}

void JSONEntryScanner::leave() {
  --level_;
  place_ = level_ == kOutside ? Place::end : Place::comma;
  if (level_ == kOutside) state_ = State::closed;
}

void JSONEntryScanner::stop(State state) {
  state_ = state;
}

std::optional<ScannedEntry> JSONEntryScanner::scanEntry() {
  const std::size_t count = value_.advance(window_.view().subspan(kept_));
  entryLength_ += count;
  kept_ += count;
  // What is over the limit is not held, but its end is looked for.
  if (entryLength_ > entryLimit_) window_.consume(std::exchange(kept_, 0));
  if (!value_.ended()) return std::nullopt;
  place_ = Place::comma;
  given_ = std::exchange(kept_, 0);
  return ScannedEntry{entryOffset_, entryLength_, window_.view().first(given_)};
}

}  // namespace qv::capture
