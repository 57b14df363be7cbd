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
#include "qvparsersupport/symbols/key_table.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/symbols/table_state.h"

namespace qv {

namespace {

enum class Instance : std::size_t { ip, btle };
enum class Key : std::size_t { uti, uuid, name };

// One uniqueness test. The text speaks of the parent's own value, not of the instance's.
struct UniquenessRow {
  Instance instance;
  Key key;
  const char* text;
};

constexpr UniquenessRow kCharacteristicRows[] = {
    {Instance::ip, Key::uti, "Characteristic ip ref {} UTI is not unique"},
    {Instance::ip, Key::uuid, "Characteristic ip ref {} UUID is not unique"},
    {Instance::ip, Key::name, "Characteristic ip ref {} Name is not unique"},
    {Instance::btle, Key::uti, "Characteristic BLE ref {} UTI is not unique"},
    {Instance::btle, Key::uuid, "Characteristic BLE ref {} UUID is not unique"},
    {Instance::btle, Key::name, "Characteristic BLE ref {} Name is not unique"},
};

constexpr const char* kServiceIPText = "Service ip ref {} is not unique";
constexpr const char* kServiceBLEText = "Service BLE ref {} is not unique";
constexpr UniquenessRow kServiceRows[] = {
    {Instance::ip, Key::uti, kServiceIPText},     {Instance::ip, Key::uuid, kServiceIPText},
    {Instance::ip, Key::name, kServiceIPText},    {Instance::btle, Key::uti, kServiceBLEText},
    {Instance::btle, Key::uuid, kServiceBLEText}, {Instance::btle, Key::name, kServiceBLEText},
};

template <class Definition>
std::optional<std::string_view> valueOf(const Definition& definition, Key key) {
  switch (key) {
    case Key::uti:
      return definition.utiView();
    case Key::uuid:
      return definition.uuidView();
    default:
      return definition.nameView();
  }
}

// Tests the six keys of a parent's instances against those of the section's earlier parents, and
// only then adds them: the instances of one parent may share their values.
template <class Definition>
void addUniqueKeys(KeyTable& keys, const Definition& parent,
                   std::span<const UniquenessRow, 6> rows) {
  const Definition* const instances[] = {IndexedDefinitions::ip(parent),
                                         IndexedDefinitions::btle(parent)};
  std::array<std::optional<std::string_view>, 6> values;
  std::array<std::string, 2> lowercaseNames;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const auto which = static_cast<std::size_t>(rows[i].instance);
    if (instances[which] == nullptr) continue;
    values[i] = valueOf(*instances[which], rows[i].key);
    if (!values[i]) continue;
    if (rows[i].key == Key::name && !isPlainLowercase(*values[i])) {
      lowercaseNames[which] = lowercased(*values[i]);
      values[i] = lowercaseNames[which];
    }
    if (!keys.contains(*values[i])) continue;
    raiseLoadAssertion(
        fmt::format(fmt::runtime(rows[i].text), valueOf(parent, rows[i].key).value_or(kNullText)),
        parent.element());
  }
  for (const auto& value : values) {
    if (value) keys.insert(*value, 0);
  }
}

void addUniqueName(KeyTable& names, const std::string& name, const char* text,
                   const std::shared_ptr<const XMLElement>& element) {
  if (names.contains(name)) raiseLoadAssertion(fmt::format(fmt::runtime(text), name), element);
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
  if (section == nullptr || section->nextNamed(name) != nullptr) {
    raiseLoadAssertion(fmt::format("There must only be 1 {} in the profile xml", name), root);
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
  std::vector<std::shared_ptr<QVCharacteristicXMLObject>> parents;
  auto instances = std::make_shared<std::vector<std::shared_ptr<QVCharacteristicXMLObject>>>();
  KeyTable keys;
  forEachElement(_profilesElementWithName("characteristics"), "characteristic", [&](auto element) {
    auto parent = QVCharacteristicXMLObject::initWithXMLElement(std::move(element));
    addUniqueKeys(keys, *parent, kCharacteristicRows);
    if (auto ip = parent->ip()) instances->push_back(std::move(ip));
    if (auto btle = parent->btle()) instances->push_back(std::move(btle));
    parents.push_back(std::move(parent));
  });
  // Deliberate: with several documents only the instances of the last one stay in the list.
  setTransportCharacteristics(std::move(instances));
  state_->characteristics.append(parents);
}

void QVSymbolTable::_loadServices() {
  std::vector<std::shared_ptr<QVServiceXMLObject>> parents;
  KeyTable keys;
  forEachElement(_profilesElementWithName("services"), "service", [&](auto element) {
    auto parent = QVServiceXMLObject::initWithXMLElement(std::move(element));
    addUniqueKeys(keys, *parent, kServiceRows);
    parents.push_back(std::move(parent));
  });
  state_->services.append(parents);
}

}  // namespace qv
