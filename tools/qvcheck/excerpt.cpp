#include "tools/qvcheck/excerpt.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "tools/qvcheck/escape.h"

namespace qv::check {

namespace {

constexpr std::size_t kMostRows = 3;
constexpr std::size_t kTextWindow = 64;
constexpr std::size_t kTextBefore = 24;

bool isPrintable(ByteView bytes) {
  return std::all_of(bytes.begin(), bytes.end(),
                     [](std::uint8_t b) { return b >= 0x20 && b < 0x7F; });
}

ByteRange clamped(ByteRange range, std::size_t size) {
  range.offset = std::min(range.offset, size);
  range.length = std::min(range.length, size - range.offset);
  return range;
}

Bytes copyOf(ByteView bytes) {
  return {bytes.begin(), bytes.end()};
}

void renderHex(const Excerpt& excerpt, std::vector<std::string>& lines) {
  const ByteView bytes(excerpt.bytes);
  const std::size_t markEnd = excerpt.mark.offset + std::max<std::size_t>(excerpt.mark.length, 1);
  for (std::size_t row = 0; row < std::max<std::size_t>(bytes.size(), 1); row += kBytesInRow) {
    const ByteView part = bytes.subspan(row, std::min(kBytesInRow, bytes.size() - row));
    const std::string number = fmt::format("{}", excerpt.offset + row);
    lines.push_back(fmt::format("{} | {}", number, hexRow(part)));
    const std::size_t first = std::max(excerpt.mark.offset, row);
    const std::size_t end = std::min(markEnd, row + kBytesInRow);
    if (first >= end) continue;
    lines.push_back(std::string(number.size() + 3 + (first - row) * 3, ' ') +
                    std::string((end - first) * 3 - 1, '^'));
  }
}

void renderText(const Excerpt& excerpt, std::vector<std::string>& lines) {
  const std::string_view text = textOf(excerpt.bytes);
  const std::string number = fmt::format("{}", excerpt.offset);
  const std::size_t before = escapedWidth(text.substr(0, excerpt.mark.offset));
  const std::size_t width = escapedWidth(text.substr(excerpt.mark.offset, excerpt.mark.length));
  lines.push_back(fmt::format("{} | {}", number, escaped(text)));
  lines.push_back(std::string(number.size() + 3 + before, ' ') +
                  std::string(std::max<std::size_t>(width, 1), '^'));
}

bool continuesCharacter(std::uint8_t byte) {
  return (byte & 0xC0U) == 0x80U;
}

bool isLineEnd(std::uint8_t byte) {
  return byte == '\r' || byte == '\n';
}

// A window of the text around the mark, cut between characters.
Excerpt textWindow(ByteView text, ByteRange mark, std::size_t origin) {
  std::size_t start = 0;
  std::size_t end = text.size();
  if (text.size() > kTextWindow) {
    start = std::min(mark.offset - std::min(mark.offset, kTextBefore), text.size() - kTextWindow);
    end = start + kTextWindow;
    while (start < mark.offset && continuesCharacter(text[start])) ++start;
    while (end > mark.offset && end < text.size() && continuesCharacter(text[end])) --end;
  }
  const std::size_t shown = std::min(mark.length, end - mark.offset);
  return {origin + start,
          copyOf(text.subspan(start, end - start)),
          {mark.offset - start, shown},
          mark.length - shown,
          true};
}

// Whether escaping leaves most of it as it is.
bool isReadable(ByteView bytes) {
  return escaped(textOf(bytes)).size() <= bytes.size() + bytes.size() / 2;
}

}  // namespace

std::string hexRow(ByteView row) {
  std::string hex;
  std::string text;
  for (std::size_t i = 0; i < kBytesInRow; ++i) {
    if (i >= row.size()) {
      hex += "   ";
      continue;
    }
    fmt::format_to(std::back_inserter(hex), "{:02x} ", row[i]);
    text.push_back(row[i] >= 0x20 && row[i] < 0x7F ? static_cast<char>(row[i]) : '.');
  }
  return hex + "| " + text;
}

Excerpt headerExcerpt(ByteView header, ByteRange mark, std::size_t origin) {
  mark = clamped(mark, header.size());
  const std::string_view text = textOf(header);
  const std::size_t before =
      mark.offset == 0 ? std::string_view::npos : text.find_last_of("\r\n", mark.offset - 1);
  const std::size_t start = before == std::string_view::npos ? 0 : before + 1;
  // A mark over a folded field reaches past its first line and is shown to its own end, and so is
  // one on a line end.
  const std::size_t markEnd = mark.offset + mark.length;
  const bool onLineEnd =
      mark.length > 0 && (text[markEnd - 1] == '\r' || text[markEnd - 1] == '\n');
  std::size_t end = onLineEnd ? markEnd : text.find_first_of("\r\n", markEnd);
  if (end == std::string_view::npos) end = text.size();
  return textWindow(header.subspan(start, end - start), {mark.offset - start, mark.length},
                    origin + start);
}

Excerpt bodyExcerpt(ByteView body, ByteRange mark, std::size_t origin) {
  mark = clamped(mark, body.size());
  const std::size_t room = std::min(body.size() - mark.offset, kBytesInRow * kMostRows);
  const std::size_t shown = std::min(mark.length, room);
  const std::size_t rows = std::max<std::size_t>((shown + kBytesInRow - 1) / kBytesInRow, 1);
  const ByteView bytes = body.subspan(mark.offset, std::min(room, rows * kBytesInRow));
  Excerpt excerpt{origin, copyOf(bytes), {0, shown}, mark.length - shown, false};
  excerpt.asText = bytes.size() > 1 && isPrintable(bytes);
  return excerpt;
}

Excerpt textBodyExcerpt(ByteView body, ByteRange mark) {
  mark = clamped(mark, body.size());
  const std::size_t first = mark.offset - std::min(mark.offset, kTextWindow);
  const std::size_t last = mark.offset + std::min(body.size() - mark.offset, kTextWindow);
  std::size_t start = mark.offset;
  while (start > first && !isLineEnd(body[start - 1])) --start;
  std::size_t end = mark.offset;
  while (end < last && (!isLineEnd(body[end]) || (end == mark.offset && mark.length > 0))) ++end;
  const ByteView line = body.subspan(start, end - start);
  if (!isReadable(line)) return bodyExcerpt(body, mark, mark.offset);
  const std::size_t inLine = std::min(mark.length, end - mark.offset);
  Excerpt excerpt = textWindow(line, {mark.offset - start, inLine}, start);
  excerpt.notShown = mark.length - excerpt.mark.length;
  return excerpt;
}

std::vector<std::string> renderedLines(const Excerpt& excerpt) {
  std::vector<std::string> lines;
  if (excerpt.asText) {
    renderText(excerpt, lines);
  } else {
    renderHex(excerpt, lines);
  }
  if (excerpt.notShown > 0) {
    lines.push_back(
        fmt::format("... and {} more byte{}", excerpt.notShown, excerpt.notShown == 1 ? "" : "s"));
  }
  return lines;
}

}  // namespace qv::check
