#include "qvparsersupport/common/base64.h"

#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv {
namespace {

TEST(Base64, decodesStrictly) {
  test::expectAnswers("texts/base64.txt", [](const test::Case& input) {
    const auto bytes = base64Decoded(textOf(test::readableBytes(input[0])));
    return bytes ? fmt::format("{:02x}", fmt::join(*bytes, " ")) : "null";
  });
  EXPECT_EQ(base64Decoded(""), Bytes{});
}

}  // namespace
}  // namespace qv
