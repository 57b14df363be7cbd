#include "qvparsersupport/json/ip_json_object.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <sstream>
#include <thread>
#include <vector>

#include "qvparsersupport/common/text_readings.h"
#include "tests/json/tree_dump.h"
#include "tests/support/expectations.h"

namespace qv {
namespace {

using test::dump;
using test::jsonFrom;
using Objects = std::vector<std::shared_ptr<QVIPJSONObject>>;

// Reads like an entry of a 207 answer, but nothing of itself.
class QVWithStatus : public QVIPJSONObject {
 protected:
  bool statusExcusesValue() const override { return true; }
};

std::shared_ptr<QVIPJSONObject> make(std::optional<Value> value,
                                     std::shared_ptr<QVIPJSONObject> parent = nullptr,
                                     int type = 0) {
  return QVIPJSONObject::make<QVIPJSONObject>(std::move(value), parent,
                                              static_cast<QVIPJSONValueType>(type));
}

TEST(IPJSONObject, ChecksItsOwnKindOtherwiseThanThatOfWhatItReads) {
  test::expectAnswers("json/kinds.txt", [](const test::Case& input) {
    const auto value = jsonFrom(input[0]);
    const auto holder = value ? Value::dictionary({{"a", *value}}) : Value::dictionary({});
    std::string answer;
    for (const int type : {0, 1, 2, 3, 4, 5, 6, 7, -1}) {
      const auto built = make(value, nullptr, type);
      const auto reader = make(holder);
      reader->extractValueForKey("a", static_cast<QVIPJSONValueType>(type));
      const auto journal = reader->extractedValues();
      std::string read = "no trace";
      if (!journal.empty()) {
        const bool obtained = journal[0].value.index() != 0;
        EXPECT_EQ(obtained, reader->valueForProperty("a").has_value());
        EXPECT_EQ(reader->childObjectHasError(), journal[0].errorDescription.has_value());
        read = obtained ? "obtained" : journal[0].errorDescription.value_or("nothing");
      }
      answer += std::to_string(type) + ": " + test::typeText(built->jsonType()) +
                (built->jsonObject() ? " kept " : " cleared ") +
                built->errorDescription().value_or("-") + " | " + read + "\n";
    }
    return answer;
  });
}

void read(QVIPJSONObject& object, const std::string& line) {
  std::istringstream words(line);
  std::string operation, name, how;
  words >> operation >> name >> how;
  const QVIPJSONKey kKeys[] = {"a", "b", "x-y-z", "status", "value"};
  const auto* key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                 [&](QVIPJSONKey known) { return known.text() == name; });
  const auto type = static_cast<QVIPJSONValueType>(integerReading(how));
  const bool required = how != "optional";
  if (operation == "flag") {
    sawFailStatus = true;
  } else if (operation == "object") {
    object.extractObjectValueForKey<QVIPJSONObject>(*key, required);
  } else if (operation == "array") {
    object.extractArrayValueForKey<QVIPJSONObject>(*key, required);
  } else if (operation == "ban") {
    object.extractValueForDisallowedKey(*key, type);
  } else if (operation == "through") {
    object.extractValueForKey(*key, [&](const std::optional<Value>& raw, ErrorSlot fault) {
      if (how == "fault" || how == "both") *fault = "the transformer's";
      return how == "raw" || how == "both" ? raw : std::nullopt;
    });
  } else {
    object.extractValueForKey(*key, type, operation == "need");
  }
}

TEST(IPJSONObject, JournalsEveryReadOfAKey) {
  test::expectAnswers("json/reads.txt", [](const test::Case& input) {
    const auto parent = make(Value());
    const auto object = input[0] == "plain"
                            ? QVIPJSONObject::make<QVIPJSONObject>(jsonFrom(input[1]), parent)
                            : QVIPJSONObject::make<QVWithStatus>(jsonFrom(input[1]), parent);
    for (std::size_t i = 2; i < input.size(); ++i) read(*object, input[i]);
    const bool flag = sawFailStatus;
    EXPECT_EQ(parent->childObjectHasError(), object->childObjectHasError());
    return dump(*object) + (flag ? "sawFailStatus\n" : "");
  });
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

TEST(IPJSONObject, AnInitialisationStartsAfresh) {
  const auto object = make(jsonFrom("{\"a\":[0]}"));
  object->extractArrayValueForKey<QVIPJSONObject>("a");
  object->extractValueForKey("b", QVIPJSONValueType::number);
  object->setErrorDescription("fault");
  object->initWithJSONObject(jsonFrom("{\"b\":1}"), nullptr, QVIPJSONValueType::object);
  EXPECT_EQ(dump(*object), "QVIPJSONObject 5\nunknown b\n");
  EXPECT_EQ(object->arrayForProperty<QVIPJSONObject>("a"), std::nullopt);
}

TEST(IPJSONObject, ChildrenOutliveTheirParents) {
  auto root = make(jsonFrom("{\"a\":{\"b\":[1]}}"));
  root->extractObjectValueForKey<QVIPJSONObject>("a");
  const auto middle = root->objectForProperty<QVIPJSONObject>("a");
  middle->extractArrayValueForKey<QVIPJSONObject>("b");
  const auto child = middle->arrayForProperty<QVIPJSONObject>("b")->at(0);
  EXPECT_EQ(child->parent(), middle);
  const auto journal = root->extractedValues();
  root.reset();
  child->setErrorDescription("one");
  EXPECT_TRUE(middle->childObjectHasError());
  EXPECT_EQ(middle->parent(), nullptr);
  EXPECT_EQ(jsonText(*journal[0].jsonValue), "{\"b\":[1]}");
}

// Takes more than the usual alignment, and no null.
class alignas(64) QVDemanding : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override {
    if (jsonObject == Value()) throw std::bad_alloc();
    QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, type);
  }
};

TEST(IPJSONObject, ChildrenShareTheirMemoryAndNotTheirLife) {
  auto root = make(jsonFrom("{\"a\":[1,{\"b\":[2]}],\"c\":[1,null]}"));
  root->extractArrayValueForKey<QVDemanding>("a");
  EXPECT_THROW(root->extractArrayValueForKey<QVDemanding>("c"), std::bad_alloc);
  EXPECT_EQ(root->extractedValues().size(), 1U);
  auto children = root->arrayForProperty<QVDemanding>("a").value();
  const std::weak_ptr<QVIPJSONObject> dropped = children[0];
  const auto kept = children[1];
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(kept.get()) % alignof(QVDemanding), 0U);
  children.clear();
  root.reset();
  EXPECT_TRUE(dropped.expired());
  kept->extractArrayValueForKey<QVIPJSONObject>("b");
  EXPECT_EQ(jsonText(*kept->arrayForProperty<QVIPJSONObject>("b")->at(0)->jsonObject()), "2");
}

TEST(IPJSONObject, WorksWithoutASharedOwner) {
  const auto parent = make(Value());
  for (const char* json : {"{\"accessories\":[{\"aid\":1,\"services\":[0]}]}", "{}", "[]"}) {
    QVIPAttributeDatabaseObject local;
    parent->setChildObjectHasError(false);
    local.initWithJSONObject(jsonFrom(json), parent, QVIPJSONValueType::unspecified);
    EXPECT_TRUE(local.errorDescription() || local.childObjectHasError()) << json;
    EXPECT_TRUE(parent->childObjectHasError()) << json;
  }
}

TEST(IPJSONObject, FlagsAMillionAncestors) {
  Objects chain = {make(Value())};
  while (chain.size() < 1'000'000) chain.push_back(make(Value(), chain.back()));
  chain.back()->setErrorDescription("deep");
  EXPECT_TRUE(chain.front()->childObjectHasError());
}

#ifndef NDEBUG
TEST(IPJSONObjectDeathTest, TwoThreadsThatValidateAtOnceEndADebugBuild) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto one = make(Value::dictionary({{"a", Value()}}));
  const auto other = make(Value::dictionary({}));
  const auto readOther = [&] { other->extractValueForKey("b", QVIPJSONValueType::number, false); };
  std::thread(readOther).join();  // one after the other is fine
  EXPECT_DEATH(one->extractValueForKey("a",
                                       [&](const std::optional<Value>&, ErrorSlot) {
                                         std::thread(readOther).join();
                                         return std::optional<Value>();
                                       }),
               "two threads validate JSON bodies at the same time");
}
#endif

}  // namespace
}  // namespace qv
