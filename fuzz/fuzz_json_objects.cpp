// Shapes the input into a database, a read or a write of roughly the right form with wrong contents
// here and there, and builds the objects. Flags, faults, pointers and unknown keys must be those
// that a plain count over the journals finds.

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz.h"
#include "fuzz/profile.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/json/attribute_database_objects.h"
#include "qvparsersupport/json/characteristic_access_objects.h"
#include "qvparsersupport/json/tree_walk.h"

namespace {

using namespace qv;
using fuzz::expect;

// How a key is filled when it is filled rightly: with one of the words, or with objects of a shape.
struct Shape;
struct Key {
  std::string_view name;
  std::span<const std::string_view> words;  // JSON texts
  const Shape* elements = nullptr;          // of an array
  bool isList = false;                      // an array of words
};
struct Shape {
  std::span<const Key> keys;
};

using Words = const std::string_view[];
constexpr Words kNumbers = {"1", "0", "-70402", "2.5", "true"};
constexpr Words kBooleans = {"true", "0", "1", "false", "null"};
constexpr Words kTypes = {"\"A4\"",
                          "\"A1\"",
                          "\"A2\"",
                          "\"A3\"",
                          "\"B1\"",
                          "\"FF\"",
                          "\"000000A1-0000-1000-8000-0A3F5C91D270\"",
                          "\"123456789\""};
constexpr Words kPermissions = {"\"pr\"", "\"pw\"", "\"ev\"", "\"xx\""};
constexpr Words kFormats = {"\"bool\"",  "\"uint8\"", "\"string\"", "\"tlv8\"", "\"date\"",
                            "\"float\"", "\"array\"", "\"dict\"",   "\"uint7\""};
constexpr Words kUnits = {"\"lux\"", "\"seconds\"", "\"miles\""};
constexpr Words kValues = {"true", "1", "2", "\"AQEB\"", "\"AQIB\"", "\"a\"", "[]", "{}", "1.5"};
constexpr Words kTexts = {"\"\"", "\"a/~b\"", "\"\\u0000\""};

constexpr Key kCharacteristicKeys[] = {
    {"type", kTypes},
    {"iid", kNumbers},
    {"perms", kPermissions, nullptr, true},
    {"ev", kBooleans},
    {"format", kFormats},
    {"unit", kUnits},
    {"minValue", kNumbers},
    {"maxLen", kNumbers},
    {"description", kTexts},
    {"valid-values", kNumbers, nullptr, true},
    {"valid-values-range", kNumbers, nullptr, true},
    {"value", kValues},
};
constexpr Shape kCharacteristic{kCharacteristicKeys};
constexpr Key kServiceKeys[] = {
    {"type", kTypes},      {"iid", kNumbers},      {"characteristics", {}, &kCharacteristic},
    {"hidden", kBooleans}, {"primary", kBooleans}, {"linked", kNumbers, nullptr, true}};
constexpr Shape kService{kServiceKeys};
constexpr Key kAccessoryKeys[] = {{"aid", kNumbers}, {"services", {}, &kService}};
constexpr Shape kAccessory{kAccessoryKeys};
constexpr Key kDatabaseKeys[] = {{"accessories", {}, &kAccessory}};
constexpr Key kEntryKeys[] = {{"iid", kNumbers},    {"aid", kNumbers},     {"status", kNumbers},
                              {"authData", kTexts}, {"remote", kBooleans}, {"ev", kBooleans},
                              {"value", kValues}};
constexpr Shape kEntry{kEntryKeys};
constexpr Key kAccessKeys[] = {{"status", kNumbers}, {"characteristics", {}, &kEntry}};

// Writes JSON as the bytes decide; when they are used up, every choice is the first one.
class Shaper {
 public:
  explicit Shaper(ByteView bytes) : bytes_(bytes) {}

  std::size_t choose(std::size_t count) {
    if (bytes_.empty()) return 0;
    const std::uint8_t byte = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return byte % count;
  }

  // Shapes nest four deep, so this does not go deeper.
  std::string object(const Shape& shape) {
    std::string text = "{";
    for (const Key& key : shape.keys) {
      const std::size_t choice = choose(12);
      if (choice == 11) continue;
      text += "\"" + std::string(key.name) + "\":" + (choice == 10 ? wrong() : right(key)) + ",";
    }
    if (choose(8) == 7) text += "\"un/kn~own\":" + wrong() + ",";
    if (text.back() == ',') text.pop_back();
    return text + "}";
  }

  std::string wrong() {
    static constexpr Words kWrong = {"null", "{}",   "[]",         "\"\"",        "7",
                                     "-1.5", "true", "[{}, null]", "{\"a\":[{}]}"};
    return std::string(kWrong[choose(std::size(kWrong))]);
  }

 private:
  std::string right(const Key& key) {
    if (key.elements == nullptr && !key.isList) return word(key.words);
    std::string text = "[";
    for (std::size_t count = choose(4); count > 0; --count) {
      const bool odd = choose(12) == 11;
      text += odd ? wrong() : key.isList ? word(key.words) : object(*key.elements);
      if (count > 1) text += ",";
    }
    return text + "]";
  }

  std::string word(std::span<const std::string_view> words) {
    return std::string(words[choose(words.size())]);
  }

  ByteView bytes_;
};

std::shared_ptr<QVIPJSONObject> objectOf(std::size_t kind, const Value& value) {
  if (kind == 0) return QVIPJSONObject::make<QVIPAttributeDatabaseObject>(value, nullptr);
  if (kind == 1) return QVIPJSONObject::make<QVIPMultipleCharacteristicWriteObject>(value, nullptr);
  static constexpr const char* kCodes[] = {"", "200", "207", "500"};
  const auto read = std::make_shared<QVIPMultipleCharacteristicReadObject>();
  read->setHTTPResponse(kind < 6 ? std::optional<std::string>(kCodes[kind - 2]) : std::nullopt);
  read->initWithJSONObject(value, nullptr, QVIPJSONValueType::unspecified);
  return read;
}

// An object of the tree, before all that is below it.
struct Counted {
  std::shared_ptr<QVIPJSONObject> object;
  std::size_t parent;
  bool faultyBelow = false;
};

// What the journals tell.
struct Recount {
  std::vector<Counted> objects;
  std::vector<std::string> texts;  // of all faults
  std::size_t unknownKeys = 0;

  void add(const std::shared_ptr<QVIPJSONObject>& root) {
    objects.push_back({root, 0});
    for (std::size_t i = 0; i < objects.size(); ++i) count(i);
    for (std::size_t i = objects.size(); --i > 0;) {
      const bool faulty = objects[i].faultyBelow || objects[i].object->errorDescription();
      if (faulty) objects[objects[i].parent].faultyBelow = true;
    }
    std::sort(texts.begin(), texts.end());
  }

 private:
  void count(std::size_t index) {
    const auto object = objects[index].object;
    if (object->errorDescription()) texts.push_back(*object->errorDescription());
    std::vector<std::string> keys = object->unknownJSONKeys().value_or(std::vector<std::string>());
    unknownKeys += keys.size();
    for (const QVIPJSONExtractedValue& entry : object->extractedValues()) {
      if (entry.jsonValue) keys.emplace_back(entry.key);
      if (entry.errorDescription) {
        texts.push_back(*entry.errorDescription);
        objects[index].faultyBelow = true;
      }
      if (const auto* child = std::get_if<std::shared_ptr<QVIPJSONObject>>(&entry.value)) {
        objects.push_back({*child, index});
      } else if (const auto* children = std::get_if<QVIPJSONObjectList>(&entry.value)) {
        for (const auto& element : *children) objects.push_back({element, index});
      }
    }
    std::vector<std::string> all;
    const auto& value = object->jsonObject();
    for (std::size_t i = 0; value && i < value->count(); ++i) {
      if (value->isDictionary()) all.emplace_back(value->keyAt(i));
    }
    std::sort(keys.begin(), keys.end());
    std::sort(all.begin(), all.end());
    expect(keys == all, "read and unknown keys are the keys");
  }
};

void checkFault(const QVIPJSONFault& fault, const std::optional<ByteRange>& range, ByteView text) {
  expect(range.has_value(), "the pointer of a fault resolves");
  const auto found = parseJSON(text.subspan(range->offset, range->length)).value;
  expect(found.has_value(), "the bytes of a fault are a value");
  if (fault.actual == "no such key") {
    expect(!found->find(fault.key), "a missing key is missing");
  } else {
    expect(jsonText(*found, {.maximumBytes = 120}) == fault.actual, "what was found stands there");
    expect(fault.pointer.ends_with(fault.key), "the pointer ends in the key");
  }
  expect(!fault.expected.empty(), "something was expected");
}

void checkTree(const std::shared_ptr<QVIPJSONObject>& root, const Value& value, ByteView text) {
  Recount recount;
  recount.add(root);
  for (const Counted& counted : recount.objects) {
    expect(counted.object->childObjectHasError() == counted.faultyBelow, "a flag tells of a fault");
    expect((counted.object->parent() == nullptr) == (counted.object == root), "all have a parent");
  }
  constexpr std::size_t kAll = 100'000;
  const std::vector<QVIPJSONFault> faults = faultsOfTree(*root, value, kAll);
  std::vector<std::string> pointers;
  for (const QVIPJSONFault& fault : faults) pointers.push_back(fault.pointer);
  const auto ranges = rangesOfJSONPointers(text, pointers);
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < faults.size(); ++i) {
    const QVIPJSONFault& fault = faults[i];
    checkFault(fault, ranges[i], text);
    texts.push_back(fault.text);
    if (fuzz::planted(fault.pointer.ends_with("/characteristics/1/value") &&
                      fault.text.ends_with("out of range"))) {
      texts.pop_back();
    }
  }
  std::sort(texts.begin(), texts.end());
  expect(texts == recount.texts, "every fault is told");
  std::vector<JSONKeyPlace> places = unreadKeysOfTree(*root, kAll);
  expect(places.size() == recount.unknownKeys, "every unknown key is told");
  locateJSONKeys(text, places);
  for (const JSONKeyPlace& place : places) {
    expect(place.range.has_value(), "an unknown key has a place");
    expect(parseJSON(text.subspan(place.range->offset, place.range->length)).value ==
               Value::string(place.key),
           "an unknown key stands there");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::loadProfile();
  Shaper shaper({data, size});
  const std::size_t kind = shaper.choose(7);
  const std::string text = shaper.choose(32) == 31
                               ? shaper.wrong()
                               : shaper.object({kind == 0 ? std::span<const Key>(kDatabaseKeys)
                                                          : std::span<const Key>(kAccessKeys)});
  const auto parsed = parseJSON(bytesOf(text));
  expect(parsed.value.has_value(), "the shape is JSON");
  checkTree(objectOf(kind, *parsed.value), *parsed.value, bytesOf(text));
  return 0;
}
