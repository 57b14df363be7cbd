// Reads the input as a profile, loads it once or, for inputs of odd length, twice over, and asks
// the table for everything in it. A failed load says why, every lookup answers what a search from
// the front finds, and definitions of the load before can still be read.

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "fuzz/fuzz.h"
#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/common/xml_reader.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace {

using namespace qv;
using fuzz::expect;

constexpr QVTransport kTransports[] = {QVTransport::none, QVTransport::ip, QVTransport::btle,
                                       QVTransport::tlv8};

template <class Definition>
std::vector<std::shared_ptr<Definition>> items(const DefinitionList<Definition>& list) {
  return list == nullptr ? std::vector<std::shared_ptr<Definition>>() : *list;
}

template <class Definition, class Matches>
std::shared_ptr<Definition> firstOf(const DefinitionList<Definition>& list, Matches matches) {
  const auto all = items(list);
  const auto found = std::find_if(all.begin(), all.end(), matches);
  return found == all.end() ? nullptr : *found;
}

// An instance is found by its name in lower case, its UTI and its UUID.
template <class Definition>
bool answersTo(const std::shared_ptr<Definition>& instance, const std::string& ref) {
  if (instance == nullptr) return false;
  const auto name = instance->name();
  return (name && lowercased(*name) == ref) || instance->uti() == ref || instance->uuid() == ref;
}

template <class Definition>
void collectRefs(const std::shared_ptr<Definition>& definition, std::set<std::string>& refs) {
  if (definition == nullptr) return;
  for (const auto& ref : {definition->name(), definition->uti(), definition->uuid()}) {
    if (!ref) continue;
    refs.insert(*ref);
    std::string upper = *ref;
    for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    refs.insert(upper);
  }
  collectRefs(definition->ip(), refs);
  collectRefs(definition->btle(), refs);
}

void checkNames(const QVSymbolTable& table, const std::string& name) {
  const auto named = [&name](const auto& definition) { return definition->name() == name; };
  expect(table.enumWithName(name) == firstOf(table.enums(), named), "the first enum");
  expect(table.tlv8WithName(name) == firstOf(table.tlv8s(), named), "the first structure");
}

void checkRef(const QVSymbolTable& table, const std::string& given) {
  const std::string ref = lowercased(given);
  const auto answers = [&ref](const auto& parent) {
    return answersTo(parent->ip(), ref) || answersTo(parent->btle(), ref);
  };
  expect(table.parentCharacteristicWithRef(given) == firstOf(table.characteristics(), answers),
         "the first characteristic");
  const auto service = firstOf(table.services(), answers);
  expect(table.parentServiceWithRef(given) == service, "the first service");
  for (const QVTransport transport : kTransports) {
    const auto instance = firstOf(table.transportCharacteristics(), [&](const auto& candidate) {
      return candidate->transport() == transport && answersTo(candidate, ref);
    });
    expect(table.characteristicWithRef(given, transport) == instance, "the first instance");
    std::shared_ptr<QVServiceXMLObject> expected;
    if (service && transport == QVTransport::ip) expected = service->ip();
    if (service && transport == QVTransport::btle) expected = service->btle();
    expect(table.serviceWithRef(given, transport) == expected, "the service's instance");
  }
}

void checkEnum(const QVEnumXMLObject& definition) {
  expect(!definition.isValidValue(std::nullopt), "no value is no value of an enum");
  bool described = definition.description().ends_with(" => " + *definition.name());
  const auto values = items(definition.values());
  if (fuzz::planted(definition.isBitmask() && definition.format() != QVFormatType::uint16)) {
    described = false;  // the masks of the seeds are of 16 bits
  }
  expect(described, "the description ends in the name");
  for (const auto& value : values) {
    const auto representation = value->valueRepresentationUsingEnumObject(definition);
    if (!representation) continue;
    expect(definition.isValidValue(representation), "an enum accepts its own values");
    const auto found = definition.lookupValue(representation);
    expect((found == nullptr) == definition.isBitmask(), "a value is found, a bit is not");
    if (found == nullptr) continue;
    const auto first = std::find_if(values.begin(), values.end(), [&](const auto& other) {
      return other->valueRepresentationUsingEnumObject(definition) == representation;
    });
    expect(found == *first, "the first equal value");
  }
}

// Reads all of a definition that may have outlived its load.
void readCharacteristic(const QVCharacteristicXMLObject& definition) {
  const auto name = definition.name();
  if (name) expect(definition.description().ends_with(*name), "the name is in the description");
  if (definition.tlv8Definition()) items(definition.tlv8Definition()->fields());
  if (definition.enumDefinition()) checkEnum(*definition.enumDefinition());
  items(definition.properties());
  for (const auto& value : {definition.minValue(), definition.maxValue(), definition.step()}) {
    if (value) expect(Value(*value) == Value(*value), "a limit equals itself");
  }
  for (const auto& instance : {definition.ip(), definition.btle()}) {
    if (instance == nullptr) continue;
    expect(instance->parent().get() == &definition, "an instance knows its parent");
    readCharacteristic(*instance);
  }
}

struct Held {
  std::vector<std::shared_ptr<QVCharacteristicXMLObject>> instances;
  std::vector<std::shared_ptr<QVServiceXMLObject>> services;

  void read() const {
    for (const auto& instance : instances) {
      expect(instance->parent() != nullptr, "a held instance keeps its parent");
      readCharacteristic(*instance->parent());
    }
    for (const auto& service : services) {
      for (const auto& characteristic : items(service->required())) {
        readCharacteristic(*characteristic);
      }
    }
  }
};

void checkTable(const QVSymbolTable& table) {
  std::set<std::string> refs{"", "no such ref"};
  for (const auto& characteristic : items(table.characteristics())) {
    collectRefs(characteristic, refs);
    readCharacteristic(*characteristic);
  }
  for (const auto& service : items(table.services())) collectRefs(service, refs);
  for (const std::string& ref : refs) checkRef(table, ref);

  std::set<std::string> names = refs;
  for (const auto& definition : items(table.enums())) {
    names.insert(*definition->name());
    checkEnum(*definition);
  }
  for (const auto& structure : items(table.tlv8s())) {
    names.insert(*structure->name());
    for (const auto& field : items(structure->fields())) {
      expect(field->tlv8Name().has_value() == (field->tlv8Definition() != nullptr),
             "a named structure is known");
    }
  }
  for (const std::string& name : names) checkNames(table, name);
}

void checkArchive(QVSymbolTable& table) {
  const Value archive = table.archiveRepresentation();
  std::optional<std::string> fault;
  expect(table.loadArchivedRepresentation(archive, &fault), "the archive of a profile is restored");
  expect(!fault && !table.lastLoadFault(), "and leaves no fault");
  expect(table.archiveRepresentation() == archive, "and is archived the same again");
  std::size_t instances = 0;
  for (const auto& characteristic : items(table.characteristics())) {
    instances += characteristic->ip() != nullptr ? 1 : 0;
    instances += characteristic->btle() != nullptr ? 1 : 0;
  }
  expect(items(table.transportCharacteristics()).size() == instances, "every instance is listed");
  checkTable(table);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Held held;
  setProcessLogSink([](std::string_view) {});
  const auto document = parseXML({data, size}, "input.xml").document;
  if (document == nullptr) return 0;

  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  const std::vector<std::shared_ptr<const XMLDocument>> documents(1 + size % 2, document);
  std::optional<std::string> fault = "from an earlier call";
  const bool loaded = table.loadDocuments(documents, &fault);
  expect(!table.loadInProgress() && table.document() == document, "the load is over");
  expect(loaded != fault.has_value(), "a failed load has a text");
  expect(fault.has_value() == table.lastLoadFault().has_value(), "a failed load has a fault");
  if (fault) expect(table.lastLoadFault()->reason == *fault, "the fault is the one of the text");

  held.read();
  checkTable(table);
  held = {};
  for (const auto& characteristic : items(table.characteristics())) {
    for (const auto& instance : {characteristic->ip(), characteristic->btle()}) {
      if (instance != nullptr) held.instances.push_back(instance);
    }
  }
  for (const auto& service : items(table.services())) {
    if (service->ip() != nullptr) held.services.push_back(service->ip());
  }
  if (loaded) checkArchive(table);
  return 0;
}
