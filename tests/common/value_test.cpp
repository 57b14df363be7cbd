#include "qvparsersupport/common/value.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cmath>
#include <string>
#include <vector>

namespace qv {
namespace {

struct Packet : ValueObject {};

Value number(std::int64_t n) {
  return Number::int64(n);
}

TEST(Value, equality) {
  const auto packet = std::make_shared<Packet>();
  const Value values[] = {
      Value(),
      number(0),
      Value::string(""),
      Value::bytes({}),
      Value::array({}),
      Value::dictionary({}),
      Value::string("0"),
      Value::array({number(0)}),
      Value::array({number(0), Value::string("a")}),
      Value::dictionary({{"a", number(1)}}),
      Value::dictionary({{"a", number(1)}, {"b", Value::array({Value()})}}),
      Value::object(packet),
      Value::object(std::make_shared<Packet>()),
  };
  for (std::size_t i = 0; i < std::size(values); ++i) {
    for (std::size_t j = 0; j < std::size(values); ++j) {
      EXPECT_EQ(values[i] == values[j], i == j) << i << " and " << j;
    }
  }
  EXPECT_EQ(Value::array({Number::boolean(true)}), Value::array({Number::float64(1)}));
  EXPECT_EQ(Value::dictionary({{"a", number(1)}, {"b", number(2)}}),
            Value::dictionary({{"b", number(2)}, {"a", number(1)}}));
  EXPECT_EQ(Value::object(packet).asObject(), packet);
  EXPECT_EQ(Value::array({Value::object(packet)}).at(0).asObject(), packet);
}

TEST(Value, dictionariesKeepOrderAndTheLastOfRepeatedKeys) {
  for (const std::size_t keys : {std::size_t{3}, std::size_t{500}}) {
    std::vector<Value::Entry> entries;
    for (std::size_t i = 0; i < keys; ++i) {
      entries.emplace_back("key" + std::to_string(i * 7919 % keys), number(static_cast<int>(i)));
    }
    entries.emplace_back("key0", Value::string("last"));
    const Value dictionary = Value::dictionary(entries);
    ASSERT_EQ(dictionary.count(), keys);
    for (std::size_t i = 0; i < keys; ++i) EXPECT_EQ(dictionary.keyAt(i), entries[i].first);
    EXPECT_EQ(dictionary.find("key0"), Value::string("last"));
    for (std::size_t i = 1; i < keys; ++i) {
      EXPECT_EQ(dictionary.find(entries[i].first), entries[i].second);
    }
    EXPECT_EQ(dictionary.find("absent"), std::nullopt);
  }
}

TEST(Value, outlivesTheContainerItCameFrom) {
  Value inner;
  {
    const Value outer = Value::dictionary(
        {{"list", Value::array({Value::string("a text that is longer than any small buffer")})}});
    inner = outer.find("list")->at(0);
  }
  EXPECT_EQ(inner.asString(), "a text that is longer than any small buffer");
  inner = *&inner;
  EXPECT_EQ(inner.asString(), "a text that is longer than any small buffer");
}

TEST(Value, accessorsOfTheWrongTypeAnswerNothing) {
  const Value values[] = {Value(), number(1), Value::string("s"), Value::bytes({}),
                          Value::array({})};
  for (const Value& value : values) {
    EXPECT_EQ(value.asNumber().has_value(), value.isNumber());
    EXPECT_EQ(value.asString().has_value(), value.isString());
    EXPECT_EQ(value.asBytes().has_value(), value.isBytes());
    EXPECT_EQ(value.asObject(), nullptr);
    EXPECT_EQ(value.find("k"), std::nullopt);
    EXPECT_TRUE(value.at(3).isNull());
    EXPECT_EQ(value.keyAt(0), "");
  }
}

// Building, copying, comparing and destroying a tree of a million levels on a small stack.
void* walkDeepTree(void* result) {
  Value left = number(1);
  Value right = number(1);
  for (int i = 0; i < 1'000'000; ++i) {
    left = Value::array({left});
    right = i % 2 == 0 ? Value::array({right}) : Value::array(std::vector<Value>{right});
  }
  const Value copy = left;
  *static_cast<bool*>(result) = copy == right && !(left == right.at(0));
  return nullptr;
}

TEST(Value, deepTreesNeedNoStack) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 256 * 1024);
  bool equal = false;
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, walkDeepTree, &equal), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_TRUE(equal);
}

TEST(Value, sharedPartsAreComparedOnce) {
  Value left = number(1);
  Value right = number(1);
  for (int level = 0; level < 200; ++level) {  // 2^200 paths from the root
    left = Value::array({left, left});
    right = Value::array({right, right});
  }
  EXPECT_EQ(left, right);
}

}  // namespace
}  // namespace qv
