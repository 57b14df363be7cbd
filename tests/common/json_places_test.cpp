#include <gtest/gtest.h>

#include <string>

#include "qvparsersupport/common/json_pointer.h"
#include "qvparsersupport/common/json_reader.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv {
namespace {

std::string shown(ByteView text, const std::optional<ByteRange>& range) {
  if (!range) return "none";
  return std::to_string(range->offset) + " " +
         std::string(textOf(text.subspan(range->offset, range->length)));
}

TEST(JSONPlaces, valuesKeysAndRepeatedKeys) {
  test::expectAnswers("texts/json-places.txt", [](const test::Case& input) {
    const Bytes text = test::readableBytes(input[0]);
    std::vector<std::string> pointers;
    std::vector<JSONKeyPlace> keys;
    for (std::size_t i = 1; i < input.size(); ++i) {
      pointers.emplace_back(textOf(test::readableBytes(input[i] == "-" ? "" : input[i])));
      keys.push_back({pointers.back(), "", ByteRange{}});
    }
    const auto ranges = rangesOfJSONPointers(text, pointers);
    locateJSONKeys(text, keys);
    std::string answer;
    for (std::size_t i = 0; i < pointers.size(); ++i) {
      EXPECT_EQ(rangeOfJSONPointer(text, pointers[i]), ranges[i]);
      answer += shown(text, ranges[i]);
      if (keys[i].range) answer += ", key " + shown(text, keys[i].range);
      answer += "\n";
    }
    for (const JSONKeyPlace& place : repeatedJSONKeys(text, 100)) {
      answer +=
          "repeated " + place.key + " of " + place.pointer + ": " + shown(text, place.range) + "\n";
    }
    return answer;
  });
}

TEST(JSONPlaces, pointersAreBuiltFromKeysAndIndexes) {
  std::string pointer;
  appendJSONPointerKey(pointer, "a/~b");
  appendJSONPointerIndex(pointer, 10);
  appendJSONPointerKey(pointer, "");
  EXPECT_EQ(pointer, "/a~1~0b/10/");
}

// Many keys of one object, each given twice, and as many pointers: in order, and not quadratic.
TEST(JSONPlaces, manyKeysAndPointers) {
  constexpr std::size_t kKeys = 100'000;
  std::string text = "{\"inner\":{\"a\":0";
  std::vector<std::string> pointers;
  for (std::size_t i = 0; i < 2 * kKeys; ++i) {
    const std::string key = "k" + std::to_string(i % kKeys);
    text += ",\"" + key + "\":" + std::to_string(i);
    if (i < kKeys) pointers.push_back("/inner/" + key);
  }
  text += "}}";
  const auto ranges = rangesOfJSONPointers(bytesOf(text), pointers);
  for (std::size_t i = 0; i < kKeys; ++i) {
    ASSERT_TRUE(ranges[i]);
    ASSERT_EQ(text.substr(ranges[i]->offset, ranges[i]->length), std::to_string(kKeys + i));
  }
  const auto repeated = repeatedJSONKeys(bytesOf(text), 1000);
  ASSERT_EQ(repeated.size(), 1000U);
  EXPECT_EQ(repeated[999].pointer, "/inner/k999");
  EXPECT_EQ(repeatedJSONKeys(bytesOf(text), static_cast<std::size_t>(-1)).size(), kKeys);
  // A long key on the way to many repeated ones is not copied without end.
  std::string wide = "{\"" + std::string(1 << 20, 'w') + "\":{\"a\":1";
  for (int i = 0; i < 100; ++i) wide += ",\"a\":1";
  EXPECT_EQ(repeatedJSONKeys(bytesOf(wide + "}}"), 1000).size(), 16U);
}

TEST(JSONPlaces, depthNeedsNoStack) {
  const std::string deep(1'000'000, '[');
  EXPECT_EQ(rangeOfJSONPointer(bytesOf(deep + std::string(deep.size(), ']')), "")->length,
            2 * deep.size());
  EXPECT_EQ(rangeOfJSONPointer(bytesOf(deep), "/0/0"), std::nullopt);
  EXPECT_TRUE(repeatedJSONKeys(bytesOf(deep), 1).empty());
}

}  // namespace
}  // namespace qv
