// Reads the input as an HTTP header block and compares with a second, slower reading that first
// cuts the whole block into lines.

#include <algorithm>
#include <string>
#include <string_view>

#include "fuzz/fuzz.h"
#include "qvparsersupport/ipmessages/http_message.h"

namespace {

using namespace qv;
using fuzz::expect;

struct Line {
  std::size_t begin;
  std::size_t end;  // of its text, before the line end
};

std::vector<Line> terminatedLines(std::string_view text) {
  std::vector<Line> lines;
  for (std::size_t at = 0, begin = 0; at < text.size(); ++at) {
    if (text[at] != '\r' && text[at] != '\n') continue;
    lines.push_back({begin, at});
    if (text.substr(at, 2) == "\r\n") ++at;
    begin = at + 1;
  }
  return lines;
}

std::vector<ByteRange> simpleFields(std::string_view text, std::vector<ByteRange>& values) {
  std::vector<ByteRange> names;
  const std::vector<Line> lines = terminatedLines(text);
  for (std::size_t index = 0; index < lines.size(); ++index) {
    const Line line = lines[index];
    const std::size_t colon = text.find(':', line.begin);
    if (colon >= line.end) continue;
    std::size_t value = colon + 1;
    while (value < line.end && (text[value] == ' ' || text[value] == '\t')) ++value;
    const auto folded = [&](const Line& next) {
      return text[next.begin] == ' ' || text[next.begin] == '\t';
    };
    while (index + 1 < lines.size() && folded(lines[index + 1])) ++index;
    names.push_back({line.begin, colon - line.begin});
    values.push_back({value, lines[index].end - value});
  }
  return names;
}

// The items of the first line: split at each blank, the rest joined with spaces.
std::vector<std::string> simpleItems(std::string_view text) {
  std::vector<std::string> items;
  if (text.empty()) return items;
  items.emplace_back();
  for (const char c : text.substr(0, text.find_first_of("\r\n"))) {
    const bool blank = c == ' ' || c == '\t';
    if (blank && items.size() < 3) {
      items.emplace_back();
    } else {
      items.back() += blank ? ' ' : c;
    }
  }
  return items;
}

void checkFields(std::string_view text, const QVHTTPMessage& message) {
  const QVHTTPHeaderFields& fields = *message.headerFields();
  std::vector<ByteRange> values;
  const std::vector<ByteRange> names = simpleFields(text, values);
  expect(fields.size() ==
             names.size() +
                 (fuzz::planted(names.size() == 3 && values[1].length == 0 && names[2].length > 3)
                      ? 1
                      : 0),
         "as many fields");
  for (std::size_t index = 0; index < names.size(); ++index) {
    const ByteRange name = names[index];
    const ByteRange value = values[index];
    expect(fields[index].name == text.substr(name.offset, name.length), "the name");
    expect(fields[index].value == text.substr(value.offset, value.length), "the value");
    expect(fields.valueRangeOf(index) == value, "where the value stands");
    expect(
        fields.rangeOf(index) == ByteRange{name.offset, value.offset + value.length - name.offset},
        "where the field stands");
  }
  if (names.empty()) return;
  const std::string_view key = fields[names.size() - 1].name;
  std::size_t first = 0;
  while (fields[first].name != key) ++first;
  expect(message.headerValueForKey(key) == std::string(fields[first].value), "the first value");
  expect(message.valueRangeForKey(key) == values[first], "where the first value stands");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto message = QVHTTPMessage::initWithHeader(bytesOf(text), std::nullopt);
  const bool ascii = std::all_of(data, data + size, [](std::uint8_t byte) { return byte < 128; });
  expect(message->headerFields().has_value() == ascii, "only ASCII is read");
  std::vector<std::string> items = ascii ? simpleItems(text) : std::vector<std::string>();
  const auto item = [&](std::size_t index) {
    return index < items.size() ? std::optional(items[index]) : std::nullopt;
  };
  expect(message->headerLineItem0() == item(0), "item 0");
  expect(message->headerLineItem1() == item(1), "item 1");
  expect(message->headerLineItem2() == item(2), "item 2");
  expect(message->headerLineItem1Range().has_value() == item(1).has_value(), "item 1 has a place");
  if (const auto range = message->headerLineItem1Range()) {
    expect(text.substr(range->offset, range->length) == *item(1), "where item 1 stands");
  }
  if (ascii) checkFields(text, *message);
  return 0;
}
