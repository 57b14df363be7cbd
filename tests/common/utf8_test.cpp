#include "qvparsersupport/common/utf8.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "qvparsersupport/common/escape.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv {
namespace {

TEST(UTF8, isCheckedCountedLowerCasedAndEscaped) {
  test::expectAnswers("texts/utf8.txt", [](const test::Case& input) {
    const Bytes bytes = test::readableBytes(input[0]);
    const std::string_view text = textOf(bytes);
    std::string lower;
    for (const char c : lowercased(text))
      lower += fmt::format("{:02x}", static_cast<unsigned char>(c));
    return fmt::format("{} {} {} {}", isValidUTF8(bytes) ? "valid" : "broken", codePointCount(text),
                       lower, escaped(text) == text ? "plain" : escaped(text));
  });
}

}  // namespace
}  // namespace qv
