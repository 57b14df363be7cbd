#include "tools/qvcheck/escape.h"

#include <gtest/gtest.h>

namespace qv::check {
namespace {

TEST(Escape, cutsLongTextAndCountsColumns) {
  EXPECT_EQ(escapedShort(std::string(199, 'a') + "\n"), std::string(199, 'a') + "\\x0a");
  EXPECT_EQ(escapedShort(std::string(201, '\n')), escaped(std::string(200, '\n')) + "... (1 more)");
  EXPECT_EQ(escapedWidth("\xC3\xA9\n"), 5U);
}

}  // namespace
}  // namespace qv::check
