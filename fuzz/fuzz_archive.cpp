// Builds an archive of the right shape from the input's bytes, wrong in places, and restores it. A
// failed restore says why; what was restored can be checked and looked up, and archives as
// something that restores and archives the same again. Instead, for inputs whose last byte says so,
// the archive comes back from its JSON form.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/fuzz.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/common/value_json.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace {

using namespace qv;
using fuzz::expect;

// The input, consumed byte by byte; 0 behind its end.
class Source {
 public:
  explicit Source(ByteView bytes) : bytes_(bytes) {}
  std::uint8_t next() {
    if (bytes_.empty()) return 0;
    const std::uint8_t byte = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return byte;
  }
  // One in 16 decisions goes wrong when the input says so.
  bool isWrong() { return (next() & 15) == 15; }
  std::size_t countTo(std::size_t most) { return bytes_.empty() ? 0 : next() % (most + 1); }

 private:
  ByteView bytes_;
};

constexpr std::string_view kTexts[] = {"A", "B", "C", "a", "b", "1a", "1B", "", "\xFF", "\xC3\xA9"};

Value text(Source& source) {
  return Value::string(kTexts[source.next() % std::size(kTexts)]);
}

Value number(Source& source) {
  const std::uint8_t byte = source.next();
  switch (byte % 8) {
    case 0:
      return Number::float64(byte / 3.0 * 1e20);
    case 1:
      return Number::float32(-1.5F);
    case 2:
      return Number::uint8(byte);
    case 3:
      return Number::boolean(byte > 99);
    case 4:
      return Number::uint64(~std::uint64_t{byte});
    default:
      return Number::int64(byte % 16);
  }
}

Value anything(Source& source, int depth) {
  switch (source.next() % (depth < 4 ? 8 : 4)) {
    case 0:
      return {};
    case 1:
      return text(source);
    case 2:
      return number(source);
    case 3:
      return Value::bytes(bytesOf(kTexts[source.next() % std::size(kTexts)]));
    case 4:
    case 5: {
      std::vector<Value> elements;
      for (std::size_t left = source.countTo(3); left > 0; --left) {
        elements.push_back(anything(source, depth + 1));
      }
      return Value::array(elements);
    }
    default: {
      constexpr std::string_view kKeys[] = {"name",  "ip",    "btle", "values",
                                            "$kind", "value", "\xFF"};
      std::vector<Value::Entry> entries;
      for (std::size_t left = source.countTo(3); left > 0; --left) {
        const auto key = kKeys[source.next() % std::size(kKeys)];
        entries.emplace_back(key, anything(source, depth + 1));
      }
      return Value::dictionary(entries);
    }
  }
}

struct Key;
using Keys = std::span<const Key>;
using Make = Value (*)(Source& source);
struct Key {
  const char* name;
  Make make;
};

Value dictionary(Source& source, Keys keys) {
  std::vector<Value::Entry> entries;
  for (const Key& key : keys) {
    const std::uint8_t choice = source.next() & 15;
    if (choice == 14) continue;
    entries.emplace_back(key.name, choice == 15 ? anything(source, 0) : key.make(source));
  }
  return Value::dictionary(entries);
}

template <Make make>
Value listOf(Source& source) {
  std::vector<Value> elements;
  for (std::size_t left = source.countTo(3); left > 0; --left) {
    elements.push_back(source.isWrong() ? anything(source, 0) : make(source));
  }
  return Value::array(elements);
}

template <std::int64_t transport>
Value transportNumber(Source&) {
  return Number::int64(transport);
}

Value enumValue(Source& source) {
  static constexpr Key kKeys[] = {{"symbol", text}, {"value", text}, {"valueDescription", text}};
  return dictionary(source, kKeys);
}

Value enumeration(Source& source) {
  static constexpr Key kKeys[] = {
      {"name", text}, {"format", number}, {"values", listOf<enumValue>}, {"bitmask", text}};
  return dictionary(source, kKeys);
}

Value field(Source& source) {
  static constexpr Key kKeys[] = {{"type", number}, {"name", text}, {"format", number}};
  static constexpr Key kReferences[] = {
      {"type", number}, {"name", text}, {"format", number}, {"enumName", text}, {"tlv8Name", text}};
  return source.next() % 4 == 3 ? dictionary(source, kReferences) : dictionary(source, kKeys);
}

Value structure(Source& source) {
  static constexpr Key kKeys[] = {{"name", text}, {"fields", listOf<field>}};
  return dictionary(source, kKeys);
}

Value permission(Source& source) {
  static constexpr Key kKeys[] = {{"name", text}, {"type", number}};
  return dictionary(source, kKeys);
}

template <std::int64_t transport>
Value characteristic(Source& source) {
  static constexpr Key kKeys[] = {
      {"transport", transportNumber<transport>},
      {"uuid", text},
      {"uti", text},
      {"name", text},
      {"format", number},
      {"properties", listOf<permission>},
      {"minValue", number},
      {"maxValue", number},
      {"step", number},
      {"unit", text},
      {"maximumLength", number},
  };
  static constexpr Key kInstances[] = {{"transport", transportNumber<transport>},
                                       {"name", text},
                                       {"format", number},
                                       {"btle", characteristic<2>},
                                       {"ip", characteristic<1>}};
  static constexpr Key kReferences[] = {{"uuid", text}, {"enumName", text}, {"tlv8Name", text}};
  const std::uint8_t choice = source.next() % 8;
  if (choice == 7) return dictionary(source, kReferences);
  return transport == 0 || choice == 6 ? dictionary(source, kInstances) : dictionary(source, kKeys);
}

template <std::int64_t transport>
Value service(Source& source) {
  static constexpr Key kLists[] = {{"transport", transportNumber<transport>},
                                   {"uuid", text},
                                   {"name", text},
                                   {"requiredRefs", listOf<text>},
                                   {"optionalRefs", listOf<text>}};
  static constexpr Key kInstances[] = {{"transport", transportNumber<transport>},
                                       {"uti", text},
                                       {"name", text},
                                       {"btle", service<2>},
                                       {"ip", service<1>}};
  return transport == 0 ? dictionary(source, kInstances) : dictionary(source, kLists);
}

Value archive(Source& source) {
  static constexpr Key kKeys[] = {{"enums", listOf<enumeration>},
                                  {"tlv8s", listOf<structure>},
                                  {"characteristics", listOf<characteristic<0>>},
                                  {"services", listOf<service<0>>}};
  return dictionary(source, kKeys);
}

std::string formText(const Value& value) {
  return jsonText(jsonFormOf(value).value());
}

void checkJSONForm(const Value& value) {
  const std::string text = formText(value);
  const auto parsed = parseJSON(bytesOf(text));
  expect(parsed.value.has_value(), "the JSON form of a value is JSON");
  const auto back = valueOfJSONForm(*parsed.value);
  expect(back && *back == value, "a value comes back from its JSON form");
  expect(formText(*back) == text, "with the same kinds");
}

bool restore(QVSymbolTable& table, const Value& representation) {
  std::optional<std::string> fault = "from an earlier call";
  const bool restored = table.loadArchivedRepresentation(representation, &fault);
  expect(!table.loadInProgress() && table.document() == nullptr, "the restore is over");
  expect(restored != fault.has_value(), "a failed restore has a text");
  expect(fault.has_value() == table.lastLoadFault().has_value(), "a failed restore has a fault");
  return restored;
}

// Refs are archived as the names of what they found, which need not be found again.
bool hasServices(const Value& representation) {
  return representation.find("services")->count() > 0;
}

void check(QVSymbolTable& table, const Value& representation) {
  const bool restored = restore(table, representation);
  table._runSanityCheckWithErrorDescription(nullptr);
  for (const std::string_view name : kTexts) {
    table.enumWithName(name);
    const auto structure = table.tlv8WithName(name);
    if (structure != nullptr) expect(structure->name() == name, "a structure has its name");
    const auto parent = table.parentCharacteristicWithRef(name);
    if (parent != nullptr) expect(parent->ip() || parent->btle(), "what is found has an instance");
    table.characteristicWithRef(name, QVTransport::ip);
    table.serviceWithRef(name, QVTransport::btle);
  }

  const Value again = table.archiveRepresentation();
  expect(again.count() == 4, "an archive has four lists");
  if (!restored || hasServices(again)) return;
  expect(restore(table, again), "what was archived is restored");
  const auto characteristics = table.characteristics();
  const auto first = characteristics->empty() ? nullptr : characteristics->front()->btle();
  if (fuzz::planted(first && first->unit() == "1B" && first->maximumLength())) {
    first->setMaximumLength(Number::int64(-1));
  }
  expect(formText(table.archiveRepresentation()) == formText(again), "and archived the same again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // What a few definitions of each kind take; more would only make every run slower.
  constexpr std::size_t kLargestInput = 512;
  if (size == 0 || size > kLargestInput) return 0;
  setProcessLogSink([](std::string_view) {});
  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  // The last byte chooses, so that no run pays for both.
  Source source({data, size - 1});
  const Value representation = archive(source);
  if (data[size - 1] % 4 == 3) {
    checkJSONForm(representation);
  } else {
    check(table, representation);
  }
  // What a run leaves in the table looks like a leak, and the input would be run again to find it.
  table.loadArchivedRepresentation({});
  return 0;
}
