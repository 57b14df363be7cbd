#include "qvparsersupport/ipmessages/http_message.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace qv {
namespace {

// The three items of the first line, then a line for each field: name, value, where the field and
// where its value stood.
std::string dump(const QVHTTPMessage& message) {
  const auto item = [](const std::optional<std::string>& text) {
    return text ? "<" + *text + ">" : std::string("null");
  };
  std::string out = item(message.headerLineItem0()) + item(message.headerLineItem1()) +
                    item(message.headerLineItem2()) + "\n";
  if (!message.headerFields()) return out + "null\n";
  const auto place = [](ByteRange range) {
    return " " + std::to_string(range.offset) + "+" + std::to_string(range.length);
  };
  for (std::size_t i = 0; i < message.headerFields()->size(); ++i) {
    const auto [name, value] = (*message.headerFields())[i];
    out += "<" + std::string(name) + "><" + std::string(value) + ">" +
           place(message.headerFields()->rangeOf(i)) +
           place(message.headerFields()->valueRangeOf(i)) + "\n";
  }
  return out;
}

struct Row {
  std::string_view header;
  std::string_view fields;
};

constexpr std::string_view kNul("a\0:\0b\n", 6);

constexpr Row kHeaders[] = {
    {"", "nullnullnull\n"},
    {"\n", "<>nullnull\n"},
    {"A: 1\r\n", "<A:><1>null\n<A><1> 0+4 3+1\n"},
    {"GET /accessories HTTP/1.1\r\nHost: a\r\nContent-Length:\t 0\r\n",
     "<GET></accessories><HTTP/1.1>\n<Host><a> 27+7 33+1\n<Content-Length><0> 36+18 53+1\n"},
    // First lines: single blanks cut, a run of them gives empty items, no line end is needed.
    {"HTTP/1.1 204 No Content", "<HTTP/1.1><204><No Content>\n"},
    {"HTTP/1.1  200 OK\n", "<HTTP/1.1><><200 OK>\n"},
    {"EVENT/1.0\t200\tO K\tX\r", "<EVENT/1.0><200><O K X>\n"},
    {" GET\n", "<><GET>null\n"},
    {"GET / \n", "<GET></><>\n"},
    {"GET http://h:80/ HTTP/1.1\n",
     "<GET><http://h:80/><HTTP/1.1>\n<GET http><//h:80/ HTTP/1.1> 0+25 9+16\n"},
    // Names and values as they stand; the unterminated last line is dropped.
    {"X\nX-A :v\nX-A:   v \nx-a:\nlast: gone",
     "<X>nullnull\n<X-A ><v> 2+6 7+1\n<X-A><v > 9+9 16+2\n<x-a><> 19+4 23+0\n"},
    {":\n::\n", "<:>nullnull\n<><> 0+1 1+0\n<><:> 2+2 3+1\n"},
    {"X\nA: 1\n\nB: 2\n", "<X>nullnull\n<A><1> 2+4 5+1\n<B><2> 8+4 11+1\n"},
    {"X\rA: 1\rB: 2\n\rC: 3\r\n",
     "<X>nullnull\n<A><1> 2+4 5+1\n<B><2> 7+4 10+1\n<C><3> 13+4 16+1\n"},
    {kNul, std::string_view("<a\0:\0b>nullnull\n<a\0><\0b> 0+5 3+2\n", 33)},
    // Folds are kept verbatim, after every kind of line end, however empty.
    {"X\r\nA: 1\r\n\t2: 3\r\n 4\r\nB: 5\r\n",
     "<X>nullnull\n<A><1\r\n\t2: 3\r\n 4> 3+15 6+12\n<B><5> 20+4 23+1\n"},
    {"X\nA: 1\r 2\n \r\n", "<X>nullnull\n<A><1\r 2\n > 2+9 5+6\n"},
    {"X\nA: \r\n b\n", "<X>nullnull\n<A><\r\n b> 2+7 5+4\n"},
    // No fold: the line before it has no colon, or a line end of its own stands between.
    {"X\n A: 1\n", "<X>nullnull\n< A><1> 2+5 6+1\n"},
    {"X\nA: 1\n\r B: 2\n", "<X>nullnull\n<A><1> 2+4 5+1\n< B><2> 8+5 12+1\n"},
    // An unterminated continuation line is dropped, the field stays.
    {"X\nA: 1\n 2\n 3: 4", "<X>nullnull\n<A><1\n 2> 2+7 5+4\n"},
    // 7-bit text only, wherever the byte stands.
    {"X\nA: 1\nB: \x80\n", "nullnullnull\nnull\n"},
    {"G\xC3\xA9T / HTTP/1.1\nA: 1\n", "nullnullnull\nnull\n"},
    {"A: 1\nunterminated \xFF", "nullnullnull\nnull\n"},
};

TEST(HTTPMessage, ReadsHeaders) {
  for (const Row& row : kHeaders) {
    EXPECT_EQ(dump(*QVHTTPMessage::initWithHeader(bytesOf(row.header), std::nullopt)), row.fields)
        << row.header;
  }
}

// From a block of exactly that size, so that a read past the end is seen. Cutting a header never
// changes a field that ended before the cut: each is there as before, the last one perhaps shorter.
TEST(HTTPMessage, EveryCutKeepsTheFieldsBeforeIt) {
  for (const Row& row : kHeaders) {
    const auto whole = QVHTTPMessage::_parseHTTPHeader(bytesOf(row.header));
    if (!whole) continue;
    std::size_t before = 0;
    for (std::size_t length = 0; length <= row.header.size(); ++length) {
      const auto block = std::make_unique<std::uint8_t[]>(length);
      std::copy_n(row.header.begin(), length, block.get());
      const auto message = QVHTTPMessage::initWithHeader(ByteView(block.get(), length), ByteView());
      const auto& fields = *message->headerFields();
      EXPECT_TRUE(fields.size() == before || fields.size() == before + 1) << row.header;
      before = fields.size();
      for (std::size_t i = 0; i < fields.size(); ++i) {
        EXPECT_EQ(fields[i].name, (*whole)[i].name);
        const bool last = i + 1 == fields.size();
        EXPECT_EQ(fields[i].value,
                  (*whole)[i].value.substr(0, last ? fields[i].value.size() : std::string::npos));
      }
    }
    EXPECT_EQ(before, whole->size());
  }
}

// Each of these takes hours if any part of the text is read again for every line.
TEST(HTTPMessage, LargeHeadersAreReadOnce) {
  constexpr std::size_t kMany = 1'000'000;
  const auto repeated = [](std::string_view unit) {
    std::string text;
    for (std::size_t i = 0; i < kMany; ++i) text += unit;
    return text;
  };
  const struct {
    const char* name;
    std::string header;
    std::size_t fields;
    std::size_t firstValueLength;
  } rows[] = {
      {"fields", repeated("a: b\r\n"), kMany, 1},
      {"fields ended by CR, one LF at the end", repeated("a: b\r") + "\n", kMany, 1},
      {"fields ended by LF, one CR at the end", repeated("a: b\n") + "\r", kMany, 1},
      {"folds", "a: b\r\n" + repeated(" c\r\n"), 1, 1 + 4 * kMany},
      {"blank lines", repeated("\n") + "a: b\n", 1, 1},
      {"no line end", repeated("a: b ") + repeated("c"), 0, 0},
      {"colon only at the end of lines", repeated("x") + ":\n" + repeated("y") + ":z\n", 2, 0},
      {"blanks", "a:" + repeated("  ") + "\n" + repeated(" \n"), 1, 2 * kMany},
  };
  for (const auto& row : rows) {
    const auto fields = QVHTTPMessage::_parseHTTPHeader(bytesOf(row.header));
    ASSERT_TRUE(fields) << row.name;
    EXPECT_EQ(fields->size(), row.fields) << row.name;
    const std::size_t length = fields->empty() ? 0 : (*fields)[0].value.size();
    EXPECT_EQ(length, row.firstValueLength) << row.name;
  }
}

TEST(HTTPMessage, LooksFieldsUpByExactName) {
  constexpr std::string_view kHeader =
      "HTTP/1.1  200\r\ncontent-type: a\r\nX-A: 1\r\nContent-Type: b\r\nX-A: 2\r\nLast: 3";
  const auto message = QVHTTPMessage::initWithHeader(bytesOf(kHeader), bytesOf("body"));
  EXPECT_EQ(message->contentType(), "b");
  EXPECT_EQ(message->headerValueForKey("X-A"), "1");
  EXPECT_EQ(message->headerValueForKey("x-a"), std::nullopt);
  EXPECT_EQ(message->headerValueForKey("Last"), std::nullopt);
  EXPECT_EQ(message->valueRangeForKey("X-A"), (ByteRange{37, 1}));
  EXPECT_EQ(message->valueRangeForKey("Last"), std::nullopt);
  EXPECT_EQ(message->startLineRange(), (ByteRange{0, 13}));
  EXPECT_EQ(message->headerLineItem1Range(), (ByteRange{9, 0}));
  EXPECT_EQ(textOf(*message->body()), "body");

  // Fields outlive the message and are replaceable; so is a header that could not be read.
  const QVHTTPHeaderFields kept = *message->headerFields();
  const auto other = QVHTTPMessage::initWithHeader(bytesOf("\xFF"), std::nullopt);
  EXPECT_EQ(other->contentType(), std::nullopt);
  other->setHeaderFields(QVHTTPHeaderFields::fromPairs({{"", ""}, {"Content-Type", "c"}}));
  EXPECT_EQ(other->contentType(), "c");
  EXPECT_EQ(other->valueRangeForKey("Content-Type"), (ByteRange{18, 1}));
  EXPECT_EQ(other->body(), std::nullopt);
  EXPECT_EQ(kept[3].value, "2");
}

}  // namespace
}  // namespace qv
