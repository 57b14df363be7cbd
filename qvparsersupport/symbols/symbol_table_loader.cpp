#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/load_assertion.h"
#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/symbols/family_keys.h"
#include "qvparsersupport/symbols/key_table.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/symbols/table_state.h"

namespace qv {

namespace {

constexpr FamilyKeys<QVCharacteristicXMLObject>::Texts kCharacteristicTexts = {
    "Characteristic ip ref {} UTI is not unique",   "Characteristic ip ref {} UUID is not unique",
    "Characteristic ip ref {} Name is not unique",  "Characteristic BLE ref {} UTI is not unique",
    "Characteristic BLE ref {} UUID is not unique", "Characteristic BLE ref {} Name is not unique",
};

constexpr const char* kServiceIPText = "Service ip ref {} is not unique";
constexpr const char* kServiceBLEText = "Service BLE ref {} is not unique";
constexpr FamilyKeys<QVServiceXMLObject>::Texts kServiceTexts = {
    kServiceIPText,  kServiceIPText,  kServiceIPText,
    kServiceBLEText, kServiceBLEText, kServiceBLEText,
};

void addUniqueName(KeyTable& names, const std::string& name, const char* text,
                   const std::shared_ptr<const XMLElement>& element) {
  if (names.find(name)) raiseLoadAssertion(fmt::format(fmt::runtime(text), name), element);
  names.insert(name, 0);
}

// Calls `read` with a handle to every child of the section that has the tag, in document order.
template <class Read>
void forEachElement(const std::shared_ptr<const XMLElement>& section, std::string_view tag,
                    Read read) {
  for (auto* child = section->firstChildNamed(tag); child != nullptr;
       child = child->nextNamed(tag)) {
    read(std::shared_ptr<const XMLElement>(section, child));
  }
}

// The keys of a section that is the whole list are its index.
template <class List, class Definition>
void addSection(List& list, std::vector<Definition> section, KeyTable keys) {
  if (list.list() == nullptr) {
    list.set(std::move(section), {std::move(keys)});
  } else {
    list.append(section);
  }
}

}  // namespace

bool QVSymbolTable::loadDocuments(std::span<const std::shared_ptr<const XMLDocument>> documents,
                                  ErrorSlot errorDescription) {
  return guardedLoad(errorDescription, [&] {
    for (const auto& each : documents) {
      setDocument(each);
      _loadEnums();
      _loadTLV8s();
      _loadCharacteristics();
      _loadServices();
    }
    setLoadInProgress(false);
    return _runSanityCheckWithErrorDescription(errorDescription);
  });
}

// The one place that catches the load assertion.
bool QVSymbolTable::guardedLoad(ErrorSlot errorDescription, const std::function<bool()>& load) {
  struct EndOfLoad {
    State& state;
    ~EndOfLoad() { state.loadInProgress = false; }
  };
  if (errorDescription != nullptr) errorDescription->reset();
  setDocument(nullptr);
  _reset();
  state_->lastLoadFault.reset();
  setLoadInProgress(true);
  const EndOfLoad endOfLoad{*state_};
  try {
    return load();
  } catch (const QVLoadAssertion& assertion) {
    processLog(fmt::format("Failed to load symbol table with reason: {}", assertion.reason()));
    processLog(assertion.origin());
    state_->lastLoadFault = {assertion.reason(), assertion.element(), document()};
    return fail(errorDescription, assertion.reason());
  }
}

// Deliberate: `transportCharacteristics` stays; only a later section replaces it.
void QVSymbolTable::_reset() {
  setEnums(nullptr);
  setTlv8s(nullptr);
  setCharacteristics(nullptr);
  setServices(nullptr);
}

std::shared_ptr<const XMLElement> QVSymbolTable::_profilesElementWithName(
    std::string_view name) const {
  const auto root = state_->document ? state_->document->rootElement() : nullptr;
  const XMLElement* const section = root ? root->firstChildNamed(name) : nullptr;
  const XMLElement* const second = section != nullptr ? section->nextNamed(name) : nullptr;
  if (section == nullptr || second != nullptr) {
    raiseLoadAssertion(fmt::format("There must only be 1 {} in the profile xml", name),
                       second != nullptr ? std::shared_ptr<const XMLElement>(root, second) : root);
  }
  return {root, section};
}

void QVSymbolTable::_loadEnums() {
  std::vector<std::shared_ptr<QVEnumXMLObject>> enums;
  KeyTable names;
  forEachElement(_profilesElementWithName("enums"), "enum", [&](auto element) {
    auto definition = QVEnumXMLObject::initWithXMLElement(std::move(element));
    addUniqueName(names, *definition->name(), "Enum name {} is not unique", definition->element());
    enums.push_back(std::move(definition));
  });
  state_->enums.append(enums);
}

// Each TLV8 is visible to lookups as soon as it is read, so that the next one can refer to it. A
// section without any leaves a null list null.
void QVSymbolTable::_loadTLV8s() {
  KeyTable names;
  forEachElement(_profilesElementWithName("tlv8s"), "tlv8", [&](auto element) {
    auto definition = QVTLV8XMLObject::initWithXMLElement(std::move(element));
    addUniqueName(names, *definition->name(), "TLV8 name '{}' is not unique",
                  definition->element());
    state_->tlv8s.append(definition);
  });
}

void QVSymbolTable::_loadCharacteristics() {
  CharacteristicSection section;
  forEachElement(_profilesElementWithName("characteristics"), "characteristic", [&](auto element) {
    auto parent = QVCharacteristicXMLObject::initWithXMLElement(std::move(element));
    FamilyKeys own(*parent);
    own.raiseIfTaken(section.keys, kCharacteristicTexts);
    section.add(std::move(parent), own);
  });
  // Deliberate: with several documents only the instances of the last one stay in the list.
  state_->transportCharacteristics.set(section.listedInstances(), std::move(section.instanceKeys));
  addSection(state_->characteristics, std::move(section.parents), std::move(section.keys));
}

void QVSymbolTable::_loadServices() {
  std::vector<std::shared_ptr<QVServiceXMLObject>> parents;
  KeyTable keys;
  forEachElement(_profilesElementWithName("services"), "service", [&](auto element) {
    auto parent = QVServiceXMLObject::initWithXMLElement(std::move(element));
    FamilyKeys own(*parent);
    own.raiseIfTaken(keys, kServiceTexts);
    own.addTo(keys, positionAfter(parents));
    parents.push_back(std::move(parent));
  });
  addSection(state_->services, std::move(parents), std::move(keys));
}

}  // namespace qv
