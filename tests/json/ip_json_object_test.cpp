#include "qvparsersupport/json/ip_json_object.h"

#include <gtest/gtest.h>

#include <vector>

#include "qvparsersupport/common/json_reader.h"

namespace qv {
namespace {

using Objects = std::vector<std::shared_ptr<QVIPJSONObject>>;

std::shared_ptr<QVIPJSONObject> make(std::optional<Value> value,
                                     std::shared_ptr<QVIPJSONObject> parent = nullptr,
                                     int type = 0) {
  return QVIPJSONObject::make<QVIPJSONObject>(std::move(value), parent,
                                              static_cast<QVIPJSONValueType>(type));
}

// The kind kept, whether the value was kept, and the text.
std::string dump(const QVIPJSONObject& object) {
  return std::to_string(static_cast<int>(object.jsonType())) +
         (object.jsonObject() ? " kept " : " cleared ") + object.errorDescription().value_or("-");
}

TEST(IPJSONObject, ChecksTheKindAskedForAndInfersItOtherwise) {
  const char* const kTexts[] = {"",
                                "1 cleared Value is not a number.",
                                "2 cleared Value is not a string.",
                                "3 cleared Value is not a boolean.",
                                "4 cleared Value is not an array.",
                                "5 cleared Value is not an object.",
                                "6 cleared Value is not null."};
  const struct {
    std::optional<Value> value;
    std::string inferred;
    std::string accepted;  // the kinds that take the value
  } rows[] = {
      {parseJSON(bytesOf("2")).value, "1 kept -", "1"},
      {parseJSON(bytesOf("1")).value, "1 kept -", "13"},
      {parseJSON(bytesOf("true")).value, "1 kept -", "13"},
      {parseJSON(bytesOf("0.5")).value, "1 kept -", "13"},
      {parseJSON(bytesOf("-0.9")).value, "1 kept -", "13"},
      {parseJSON(bytesOf("1e300")).value, "1 kept -", "1"},
      {parseJSON(bytesOf("18446744073709551615")).value, "1 kept -", "1"},
      {parseJSON(bytesOf("-1")).value, "1 kept -", "1"},
      {parseJSON(bytesOf("\"true\"")).value, "2 kept -", "2"},
      {parseJSON(bytesOf("[]")).value, "4 kept -", "4"},
      {parseJSON(bytesOf("{}")).value, "5 kept -", "5"},
      {parseJSON(bytesOf("null")).value, "6 kept -", "6"},
      {Value::bytes({}), "0 kept Unknown JSON object type.", ""},
      {std::nullopt, "0 cleared Unknown JSON object type.", ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(dump(*make(row.value)), row.inferred);
    for (int type = 1; type <= 6; ++type) {
      const std::string kind = std::to_string(type);
      const bool taken = row.accepted.find(kind) != std::string::npos;
      EXPECT_EQ(dump(*make(row.value, nullptr, type)), taken ? kind + " kept -" : kTexts[type]);
    }
    const std::string kept = row.value ? " kept -" : " cleared -";
    EXPECT_EQ(dump(*make(row.value, nullptr, 7)), "7" + kept);
    EXPECT_EQ(dump(*make(row.value, nullptr, -1)), "-1" + kept);
  }
}

std::string flags(const Objects& objects) {
  std::string text;
  for (const auto& object : objects) text += object->childObjectHasError() ? '1' : '0';
  return text;
}

TEST(IPJSONObject, FlagsEveryAncestorAndClearsThemToo) {
  Objects chain = {make(Value())};
  while (chain.size() < 4) chain.push_back(make(Value(), chain.back()));
  const auto sibling = make(Value::string("x"), chain[1], 1);
  EXPECT_EQ(flags(chain), "1100");
  chain[3]->setErrorDescription("fault");
  EXPECT_EQ(flags(chain), "1110");
  chain[3]->setChildObjectHasError(false);
  EXPECT_EQ(flags(chain), "0000");
  EXPECT_EQ(chain[3]->errorDescription(), "fault");
  chain[3]->setErrorDescription(std::nullopt);
  EXPECT_EQ(flags(chain), "1110");
  EXPECT_FALSE(sibling->childObjectHasError());
}

TEST(IPJSONObject, AnInferredKindThatFailsFlagsTheParent) {
  const auto root = make(Value());
  make(std::nullopt, root);
  EXPECT_TRUE(root->childObjectHasError());
}

TEST(IPJSONObject, ConstructionClearsTheStatusFlag) {
  sawFailStatus = true;
  make(Value());
  EXPECT_FALSE(sawFailStatus);
}

TEST(IPJSONObject, ChildrenOutliveTheirParents) {
  auto root = make(Value());
  auto middle = make(Value(), root);
  const auto child = make(Value(), middle);
  root.reset();
  child->setErrorDescription("one");
  EXPECT_TRUE(middle->childObjectHasError());
  middle.reset();
  EXPECT_EQ(child->parent(), nullptr);
  child->setErrorDescription("two");
  child->setChildObjectHasError(true);
  EXPECT_EQ(child->errorDescription(), "two");

  QVIPJSONObject local;  // owned by no shared_ptr: works alone
  local.initWithJSONObject(Value(), child, QVIPJSONValueType::array);
  EXPECT_EQ(local.errorDescription(), "Value is not an array.");
}

TEST(IPJSONObject, FlagsAMillionAncestors) {
  Objects chain = {make(Value())};
  while (chain.size() < 1'000'000) chain.push_back(make(Value(), chain.back()));
  chain.back()->setErrorDescription("deep");
  EXPECT_TRUE(chain.front()->childObjectHasError());
}

}  // namespace
}  // namespace qv
