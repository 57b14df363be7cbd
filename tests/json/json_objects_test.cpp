#include <gtest/gtest.h>

#include "qvparsersupport/json/tree_walk.h"
#include "tests/json/tree_dump.h"
#include "tests/support/expectations.h"
#include "tests/symbols/symbol_table_fixture.h"

namespace qv {
namespace {

using test::dump;
using test::jsonFrom;

class JSONObjects : public test::SymbolTableFixture {
 protected:
  void SetUp() override {
    SymbolTableFixture::SetUp();
    ASSERT_EQ(load({test::contentOf(QV_TESTS_DIR "/captures/json/profile.xml")}), "loaded");
  }
};

// "read 207" is the container of an answer with that code, "read" that of an event. Whatever type
// is handed in, each class demands its own.
std::shared_ptr<QVIPJSONObject> make(const std::string& name, const std::optional<Value>& value) {
  constexpr auto kNone = QVIPJSONValueType::null;
  if (name == "database") {
    return QVIPJSONObject::make<QVIPAttributeDatabaseObject>(value, nullptr, kNone);
  }
  if (name == "accessory") return QVIPJSONObject::make<QVIPAccessoryObject>(value, nullptr, kNone);
  if (name == "service") return QVIPJSONObject::make<QVIPServiceObject>(value, nullptr, kNone);
  if (name == "characteristic") {
    return QVIPJSONObject::make<QVIPCharacteristicObject>(value, nullptr, kNone);
  }
  if (name == "format") return QVIPJSONObject::make<QVIPFormatString>(value, nullptr, kNone);
  if (name == "permission") {
    return QVIPJSONObject::make<QVIPPermissionString>(value, nullptr, kNone);
  }
  if (name == "unit") return QVIPJSONObject::make<QVIPUnitString>(value, nullptr, kNone);
  if (name == "uuid") return QVIPJSONObject::make<QVIPUUIDTypeString>(value, nullptr, kNone);
  if (name == "write") {
    return QVIPJSONObject::make<QVIPMultipleCharacteristicWriteObject>(value, nullptr, kNone);
  }
  const auto container = std::make_shared<QVIPMultipleCharacteristicReadObject>();
  EXPECT_EQ(container->HTTPResponse(), "");
  container->setHTTPResponse(name == "read" ? std::nullopt : std::optional(name.substr(5)));
  container->initWithJSONObject(value, nullptr, kNone);
  return container;
}

TEST_F(JSONObjects, ReadTheirKeys) {
  test::expectAnswers("json/objects.txt", [](const test::Case& input) {
    const auto value = jsonFrom(input[1]);
    const auto object = make(input[0], value);
    std::string answer = dump(*object);
    for (const QVIPJSONFault& fault : faultsOfTree(*object, value, 100)) {
      answer += "fault at " + fault.pointer + (fault.key.empty() ? "" : " of " + fault.key) + ": " +
                fault.text + " | " + fault.expected + " | " + fault.actual + "\n";
      EXPECT_LE(faultsOfTree(*object, value, 1).size(), 1U);
    }
    for (const JSONKeyPlace& place : unreadKeysOfTree(*object, 100)) {
      answer += "unread " + place.key + " at " + place.pointer + "\n";
    }
    return answer;
  });
}

// The value with another one under a key, or without it.
Value with(const Value& value, std::size_t index, const std::optional<Value>& other) {
  std::vector<Value::Entry> entries;
  for (std::size_t i = 0; i < value.count(); ++i) {
    if (i != index) entries.emplace_back(value.keyAt(i), value.at(i));
    if (i == index && other) entries.emplace_back(value.keyAt(i), *other);
  }
  return Value::dictionary(entries);
}

TEST_F(JSONObjects, EachKeyIsJudgedOnItsOwn) {
  test::expectAnswers("json/every-key.txt", [](const test::Case& input) {
    const Value whole = *jsonFrom(input[1]);
    EXPECT_FALSE(make(input[0], whole)->childObjectHasError());
    std::string answer;
    for (std::size_t i = 0; i < whole.count(); ++i) {
      for (const char* other :
           {"no value", "null", "true", "2", "0.5", "\"x\"", "[]", "[{}]", "{}"}) {
        const Value changed = with(whole, i, jsonFrom(other));
        const auto object = make(input[0], changed);
        const auto faults = faultsOfTree(*object, changed, 100);
        EXPECT_EQ(object->childObjectHasError(), !faults.empty());
        if (faults.empty()) continue;
        answer += std::string(whole.keyAt(i)) + ", " + other + ":";
        for (const QVIPJSONFault& fault : faults) answer += " " + fault.pointer + " " + fault.text;
        answer += "\n";
      }
    }
    return answer;
  });
}

TEST_F(JSONObjects, AFormatStandsForAKind) {
  const auto characteristic = std::dynamic_pointer_cast<QVIPCharacteristicObject>(
      make("characteristic", jsonFrom("{\"format\":1}")));
  std::string kinds;
  for (const char* name : {"bool", "int", "uint8", "uint16", "uint32", "uint64", "float", "string",
                           "date", "tlv8", "data", "array", "dict", "none"}) {
    const auto format = QVIPJSONObject::make<QVIPFormatString>(Value::string(name), nullptr);
    kinds += test::typeText(characteristic->QVIPFormatStringToQVIPJSONValueType(format.get()));
  }
  EXPECT_EQ(kinds, "31111112000450");
  EXPECT_EQ(characteristic->QVIPFormatStringToQVIPJSONValueType(nullptr),
            QVIPJSONValueType::unspecified);
}

// What was read stays as it was when the profile goes away.
TEST_F(JSONObjects, KeepTheirDefinitions) {
  const auto object = std::dynamic_pointer_cast<QVIPCharacteristicObject>(
      make("characteristic", jsonFrom("{\"type\":\"A1\",\"perms\":[\"pr\"],\"value\":1}")));
  clear();
  EXPECT_EQ(object->enumDefinition()->name(), "Mode");
  object->initWithJSONObject(object->jsonObject(), nullptr, QVIPJSONValueType::object);
  EXPECT_EQ(object->definition(), nullptr);
  EXPECT_EQ(object->valueValue(), std::nullopt);
}

}  // namespace
}  // namespace qv
