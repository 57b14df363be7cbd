#include "qvparsersupport/ipmessages/http_message.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "qvparsersupport/common/escape.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

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
    out += "<" + escaped(name) + "><" + escaped(value) + ">" +
           place(message.headerFields()->rangeOf(i)) +
           place(message.headerFields()->valueRangeOf(i)) + "\n";
  }
  return out;
}

constexpr const char* kHeaders = "messages/headers.txt";

Bytes headerOf(const test::Case& input) {
  return input[0] == "\"\"" ? Bytes() : test::readableBytes(input[0]);
}

TEST(HTTPMessage, ReadsHeadersAsTheyStand) {
  test::expectAnswers(kHeaders, [](const test::Case& input) {
    return dump(*QVHTTPMessage::initWithHeader(headerOf(input), std::nullopt));
  });
}

// From a block of exactly that size, so that a read past the end is seen. Cutting a header never
// changes a field that ended before the cut: each is there as before, the last one perhaps shorter.
TEST(HTTPMessage, EveryCutKeepsTheFieldsBeforeIt) {
  for (const test::Case& input : test::casesIn(kHeaders)) {
    const Bytes header = headerOf(input);
    const auto whole = QVHTTPMessage::_parseHTTPHeader(header);
    if (!whole) continue;
    std::size_t before = 0;
    for (std::size_t length = 0; length <= header.size(); ++length) {
      const auto block = std::make_unique<std::uint8_t[]>(length);
      std::copy_n(header.begin(), length, block.get());
      const auto fields = *QVHTTPMessage::_parseHTTPHeader(ByteView(block.get(), length));
      EXPECT_TRUE(fields.size() == before || fields.size() == before + 1) << input[0];
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
