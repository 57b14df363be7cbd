#include "qvparsersupport/common/json_scan.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace qv {

namespace {

void appendUTF8(std::string& text, std::uint32_t codePoint) {
  const auto append = [&](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
  const auto follow = [&](unsigned shift) { append(0x80 | ((codePoint >> shift) & 0x3F)); };
  if (codePoint < 0x80) return append(codePoint);
  if (codePoint < 0x800) {
    append(0xC0 | (codePoint >> 6));
  } else if (codePoint < 0x10000) {
    append(0xE0 | (codePoint >> 12));
    follow(6);
  } else {
    append(0xF0 | (codePoint >> 18));
    follow(12);
    follow(6);
  }
  follow(0);
}

std::uint32_t hexadecimalAt(std::string_view text, std::size_t at) {
  std::uint32_t value = 0;
  const std::string_view digits = text.substr(std::min(at, text.size()), 4);
  std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  return value;
}

// The code point of the \u escape whose backslash stands at the place, and where it ends.
std::uint32_t codePointOfEscape(std::string_view text, std::size_t& at) {
  std::uint32_t codePoint = hexadecimalAt(text, at + 2);
  at += 6;
  if (codePoint >= 0xD800 && codePoint < 0xDC00) {
    const std::uint32_t low = hexadecimalAt(text, at + 2);
    codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + ((low - 0xDC00) & 0x3FF);
    at += 6;
  }
  return codePoint;
}

}  // namespace

std::string_view decodedJSONString(std::string_view inside, std::string& decoded) {
  std::size_t escape = inside.find('\\');
  if (escape == std::string_view::npos) return inside;
  decoded.clear();
  std::size_t at = 0;
  while (escape + 1 < inside.size()) {
    decoded.append(inside, at, escape - at);
    at = escape + 2;
    switch (const char letter = inside[escape + 1]) {
      case 'b':
        decoded.push_back('\b');
        break;
      case 'f':
        decoded.push_back('\f');
        break;
      case 'n':
        decoded.push_back('\n');
        break;
      case 'r':
        decoded.push_back('\r');
        break;
      case 't':
        decoded.push_back('\t');
        break;
      case 'u':
        at = escape;
        appendUTF8(decoded, codePointOfEscape(inside, at));
        break;
      default:
        decoded.push_back(letter);
    }
    if (at >= inside.size()) return decoded;
    escape = std::min(inside.find('\\', at), inside.size());
  }
  decoded.append(inside, at, inside.size() - at);
  return decoded;
}

void JSONScan::skipBlanks() {
  while (front() == ' ' || front() == '\t' || front() == '\n' || front() == '\r') ++at_;
}

bool JSONScan::skip(char expected) {
  if (at_ >= text_.size() || text_[at_] != expected) return false;
  ++at_;
  skipBlanks();
  return true;
}

void JSONScan::skipString() {
  ++at_;
  while (at_ < text_.size() && text_[at_] != '"') at_ += text_[at_] == '\\' ? 2 : 1;
  at_ = std::min(at_ + 1, text_.size());
}

bool JSONScan::skipToken() {
  const std::size_t start = at_;
  if (front() == '"') {
    skipString();
  } else {
    at_ = std::min(text_.find_first_of(",:]}[{\" \t\r\n", at_), text_.size());
  }
  return at_ > start;
}

bool JSONScan::skipValue() {
  std::size_t depth = 0;
  do {
    switch (front()) {
      case '[':
      case '{':
        ++depth;
        ++at_;
        break;
      case ']':
      case '}':
        if (depth == 0) return false;
        --depth;
        ++at_;
        break;
      case ',':
      case ':':
        if (depth == 0) return false;
        ++at_;
        break;
      default:
        if (!skipToken()) return false;
    }
    if (depth > 0) skipBlanks();
  } while (depth > 0);
  return true;
}

}  // namespace qv
