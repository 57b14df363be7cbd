#include "qvparsersupport/common/utf8.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

TEST(UTF8, acceptsWellFormedTextOnly) {
  for (const char* text : {"", "abc", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x92\xA1",
                           "\xF4\x8F\xBF\xBF", "\xED\x9F\xBF", "\xEE\x80\x80"}) {
    EXPECT_TRUE(isValidUTF8(bytesOf(text))) << text;
  }
  struct Row {
    const char* text;
    const char* what;
  } const refused[] = {
      {"\xC0\x80", "overlong NUL"},
      {"\xC1\xBF", "overlong"},
      {"\xE0\x9F\xBF", "overlong"},
      {"\xF0\x8F\xBF\xBF", "overlong"},
      {"\xED\xA0\x80", "surrogate"},
      {"\xED\xBF\xBF", "surrogate"},
      {"\xF4\x90\x80\x80", "above 10FFFF"},
      {"\xF5\x80\x80\x80", "lead F5"},
      {"\x80", "lone continuation"},
      {"\xE2\x82", "cut"},
      {"a\xC3", "cut"},
      {"\xC3(", "wrong continuation"},
  };
  for (const Row& row : refused) EXPECT_FALSE(isValidUTF8(bytesOf(row.text))) << row.what;
}

TEST(UTF8, lowerCasesByCodePoint) {
  struct Row {
    const char* text;
    const char* lower;
  } const rows[] = {
      {"On-OFF 3E", "on-off 3e"},
      {"\xC3\x84pfel", "\xC3\xA4pfel"},          // capital A with diaeresis
      {"\xCE\xA3\xCE\xA3", "\xCF\x83\xCF\x83"},  // sigma, also at the end of a word
      {"\xE2\x84\xAA", "k"},                     // the Kelvin sign
      {"\xFF"
       "A\x80"
       "B",
       "\xFF"
       "a\x80"
       "b"},  // broken text is copied
  };
  for (const Row& row : rows) EXPECT_EQ(lowercased(row.text), row.lower) << row.text;
  EXPECT_EQ(codePointCount("\xC3\x84"
                           "b\xE2\x82\xAC"),
            3U);
}

}  // namespace
}  // namespace qv
