#include "tools/qvcheck/excerpt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tools/qvcheck/escape.h"

namespace qv::check {
namespace {

using testing::ElementsAre;

TEST(Excerpt, headerShowsTheLineThatHoldsTheMark) {
  const std::string header = "HTTP/1.1 201 Created\r\nX-Esc: \x1B[1m\r\n";
  EXPECT_THAT(renderedLines(headerExcerpt(bytesOf(header), {9, 3}, 100)),
              ElementsAre("100 | HTTP/1.1 201 Created", "               ^^^"));
  EXPECT_THAT(renderedLines(headerExcerpt(bytesOf(header), {29, 4}, 100)),
              ElementsAre("122 | X-Esc: \\x1b[1m", "             ^^^^^^^"));
  EXPECT_THAT(renderedLines(headerExcerpt(bytesOf("A: 1\nB: 2\n"), {4, 1}, 0)),
              ElementsAre("0 | A: 1\\x0a", "        ^^^^"));
}

TEST(Excerpt, longLinesAreCutDownAroundTheMark) {
  const std::string header = std::string(500, 'a') + "MARK" + std::string(500, 'b') + "\r\n";
  EXPECT_THAT(renderedLines(headerExcerpt(bytesOf(header), {500, 4}, 0)),
              ElementsAre("476 | " + std::string(24, 'a') + "MARK" + std::string(36, 'b'),
                          std::string(30, ' ') + "^^^^"));
}

TEST(Excerpt, bodiesAreRowsOfBytes) {
  const Bytes body = {0x06, 0x01, 0x09, 'A', 'B'};
  EXPECT_THAT(renderedLines(bodyExcerpt(body, {0, 3}, 1881)),
              ElementsAre("1881 | 06 01 09 41 42                                  | ...AB",
                          "       ^^^^^^^^"));
  EXPECT_THAT(renderedLines(bodyExcerpt(body, {5, 0}, 7)).front(), testing::StartsWith("7 | "));
  EXPECT_THAT(renderedLines(bodyExcerpt(bytesOf("{\"aid\":1}"), {1, 5}, 40)),
              ElementsAre("40 | \"aid\":1}", "     ^^^^^"));
  EXPECT_EQ(renderedLines(bodyExcerpt(Bytes(1000, 1), {0, 1000}, 0)).back(),
            "... and 952 more bytes");
}

TEST(Excerpt, cutsLongCapturedTextAndCountsColumns) {
  EXPECT_EQ(escapedShort(std::string(199, 'a') + "\n"), std::string(199, 'a') + "\\x0a");
  EXPECT_EQ(escapedShort(std::string(201, '\n')), escaped(std::string(200, '\n')) + "... (1 more)");
  EXPECT_EQ(escapedWidth("\xC3\xA9\n"), 5U);
}

}  // namespace
}  // namespace qv::check
