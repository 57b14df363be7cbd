// Reads the input as JSON. What is accepted reads back from its own text with the same numeric
// kinds, every place of its tree is found by pointer and holds the value that the tree has there,
// and Boost.JSON's tree parser, handed the same bytes, accepts the same texts.

#include <algorithm>
#include <boost/json.hpp>
#include <string>
#include <vector>

#include "fuzz/fuzz.h"
#include "qvparsersupport/common/json_pointer.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/common/utf8.h"

namespace {

using namespace qv;
using fuzz::expect;

// A value of the tree with its pointer; parents stand before their children.
struct Place {
  Value value;
  std::string pointer;
};

std::vector<Place> placesOf(const Value& root) {
  constexpr std::size_t kMost = 200;
  std::vector<Place> places{{root, ""}};
  for (std::size_t next = 0; next < places.size(); ++next) {
    const Value parent = places[next].value;
    for (std::size_t i = 0; i < parent.count() && places.size() < kMost; ++i) {
      Place child{parent.at(i), places[next].pointer};
      if (parent.isArray()) {
        appendJSONPointerIndex(child.pointer, i);
      } else {
        appendJSONPointerKey(child.pointer, parent.keyAt(i));
        expect(parent.find(parent.keyAt(i)) == child.value, "a key finds its value");
      }
      places.push_back(std::move(child));
    }
  }
  return places;
}

// Equal, and numbers of the same kind and sign.
void expectSame(const Value& left, const Value& right) {
  expect(left == right, "the values are equal");
  std::vector<Place> places = placesOf(left);
  const std::vector<Place> others = placesOf(right);
  expect(places.size() == others.size(), "the trees have the same places");
  for (std::size_t i = 0; i < places.size(); ++i) {
    const auto number = places[i].value.asNumber();
    const auto other = others[i].value.asNumber();
    expect(places[i].pointer == others[i].pointer, "the keys have the same order");
    expect(number.has_value() == other.has_value(), "a number is a number");
    if (!number) continue;
    expect(number->kind() == other->kind(), "numbers keep their kind");
    expect(number->text() == other->text(), "numbers keep their sign");
  }
}

void checkPlaces(ByteView text, const JSONParseResult& result) {
  const std::vector<Place> places = placesOf(*result.value);
  std::vector<std::string> pointers;
  std::vector<JSONKeyPlace> keys;
  for (const Place& place : places) {
    pointers.push_back(place.pointer);
    keys.push_back({place.pointer, "", std::nullopt});
  }
  const auto ranges = rangesOfJSONPointers(text, pointers);
  locateJSONKeys(text, keys);
  for (std::size_t i = 0; i < places.size(); ++i) {
    expect(ranges[i].has_value(), "every pointer is found");
    ByteView bytes = text.subspan(ranges[i]->offset, ranges[i]->length);
    // A number under a key that begins with an escape.
    if (fuzz::planted(places[i].value.isNumber() && keys[i].range &&
                      text[keys[i].range->offset + 1] == '\\')) {
      bytes = bytes.first(0);
    }
    const JSONParseResult part = parseJSON(bytes);
    expect(part.value.has_value(), "a range holds a whole value");
    expect(*part.value == places[i].value, "a range holds the value of its pointer");
    if (!keys[i].range) continue;
    const auto key = parseJSON(text.subspan(keys[i].range->offset, keys[i].range->length));
    std::string step;
    appendJSONPointerKey(step, key.value->asString().value());
    expect(places[i].pointer.ends_with(step), "a key stands where it is found");
  }
  const auto repeated = repeatedJSONKeys(text, 100);
  expect(repeated.empty() != result.hasRepeatedKeys, "repeated keys are noticed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView text(data, size);
  const JSONParseResult result = parseJSON(text);
  expect(result.value.has_value() == result.error.empty(), "a value or a text");
  expect(result.errorOffset <= size, "the place is in the text");

  // The peer takes numbers beyond double as infinities; both refuse depth, its limit set to ours.
  boost::json::parse_options options;
  options.max_depth = JSONLimits::kMaximumDepth;
  boost::json::error_code error;
  const auto peer =
      boost::json::parse({reinterpret_cast<const char*>(data), size}, error, {}, options);
  const bool beyondDouble = result.error.starts_with("exponent overflow");
  if (!beyondDouble) expect(!error == result.value.has_value(), "both parsers agree");

  if (!result.value) {
    // No text at all is safe from the walks.
    const std::string pointers[] = {"", "/0", "/a", "/a/0", "/0/a"};
    for (const auto& range : rangesOfJSONPointers(text, pointers)) {
      if (range) expect(range->offset + range->length <= size, "a range is in the text");
    }
    repeatedJSONKeys(text, 10);
    return 0;
  }
  for (const std::size_t indent : {0U, 2U}) {
    const std::string written = jsonText(*result.value, {.indent = indent});
    const JSONParseResult again = parseJSON(bytesOf(written));
    expect(again.value.has_value(), "a written text is accepted");
    expectSame(*result.value, *again.value);
    expect(!again.hasRepeatedKeys, "a written text repeats no key");
  }
  const std::string cut = jsonText(*result.value, {.maximumBytes = size / 2});
  expect(cut.size() <= size / 2 && isValidUTF8(bytesOf(cut)), "a cut text is short and whole");
  checkPlaces(text, result);
  return 0;
}
