#include "qvparsersupport/common/base64.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

TEST(Base64, decodesStrictly) {
  struct Row {
    const char* text;
    std::optional<Bytes> bytes;
  } const rows[] = {
      {"", Bytes{}},
      {"TQ==", Bytes{0x4D}},
      {"TWE=", Bytes{0x4D, 0x61}},
      {"TWFu", Bytes{0x4D, 0x61, 0x6E}},
      {"+/8=", Bytes{0xFB, 0xFF}},
      {"TQ", std::nullopt},    // padding missing
      {"TQ=", std::nullopt},   // padding incomplete
      {"T===", std::nullopt},  // too much padding
      {"====", std::nullopt},
      {"TQ==TQ==", std::nullopt},  // padding inside
      {"TR==", std::nullopt},      // bits after the last byte
      {"TWG=", std::nullopt},
      {"TW\nFu", std::nullopt},  // line break
      {"TWF ", std::nullopt},
      {"-_8=", std::nullopt},  // the URL alphabet
  };
  for (const Row& row : rows) EXPECT_EQ(base64Decoded(row.text), row.bytes) << row.text;
}

}  // namespace
}  // namespace qv
