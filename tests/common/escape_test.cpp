#include "qvparsersupport/common/escape.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

TEST(Escape, leavesNothingThatATerminalObeys) {
  struct Row {
    const char* text;
    const char* escaped;
  } const rows[] = {
      {"plain \\ text", "plain \\ text"},
      {"a\r\n\tb", "a\\x0d\\x0a\\x09b"},
      {"\x1B[2J\x7F", "\\x1b[2J\\x7f"},
      {"caf\xC3\xA9 \xF0\x9F\x92\xA1", "caf\xC3\xA9 \xF0\x9F\x92\xA1"},
      {"\xC2\x9B"
       "31m",
       "\\u{009B}31m"},
      {"\xE2\x80\xAE"
       "abc\xE2\x80\xA8",
       "\\u{202E}abc\\u{2028}"},
      {"\xFF\xC3(\xE2\x82", "\\xff\\xc3(\\xe2\\x82"},
  };
  for (const Row& row : rows) EXPECT_EQ(escaped(row.text), row.escaped);
}

}  // namespace
}  // namespace qv
