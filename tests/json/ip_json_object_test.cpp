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
  const char* const kWanted[] = {"",         "a number",  "a string", "a boolean",
                                 "an array", "an object", "null"};
  const struct {
    const char* json;
    std::string inferred;
    std::string accepted;  // the kinds that take the value
  } rows[] = {
      {"2", "1 kept -", "1"},
      {"1", "1 kept -", "13"},
      {"true", "1 kept -", "13"},
      {"0.5", "1 kept -", "13"},
      {"-0.9", "1 kept -", "13"},
      {"1e300", "1 kept -", "1"},
      {"18446744073709551615", "1 kept -", "1"},
      {"-1", "1 kept -", "1"},
      {"\"true\"", "2 kept -", "2"},
      {"[]", "4 kept -", "4"},
      {"{}", "5 kept -", "5"},
      {"null", "6 kept -", "6"},
      {"no JSON", "0 cleared Unknown JSON object type.", ""},
  };
  for (const auto& row : rows) {
    const auto value = parseJSON(bytesOf(row.json)).value;
    EXPECT_EQ(dump(*make(value)), row.inferred) << row.json;
    for (int type = 1; type <= 6; ++type) {
      const std::string kind = std::to_string(type);
      const bool taken = row.accepted.find(kind) != std::string::npos;
      EXPECT_EQ(dump(*make(value, nullptr, type)),
                taken ? kind + " kept -" : kind + " cleared Value is not " + kWanted[type] + ".");
    }
    const std::string kept = value ? " kept -" : " cleared -";
    EXPECT_EQ(dump(*make(value, nullptr, 7)), "7" + kept);
    EXPECT_EQ(dump(*make(value, nullptr, -1)), "-1" + kept);
  }
  EXPECT_EQ(dump(*make(Value::bytes({}))), "0 kept Unknown JSON object type.");
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
  const auto root = make(Value());
  make(std::nullopt, root);  // an inferred kind that fails
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
