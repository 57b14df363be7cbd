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

// The keys of a section's parents and instances, all over one store of texts.
struct SectionKeys {
  std::shared_ptr<KeyStore> store = std::make_shared<KeyStore>();
  KeyTable parents{store};
  std::array<KeyTable, 2> instances{KeyTable(store), KeyTable(store)};
};

// The six keys of one parent, in the order of the rows; what an instance lacks is null.
template <class Definition>
class FamilyKeys {
 public:
  FamilyKeys(const Definition& parent, std::span<const UniquenessRow, 6> rows)
      : parent_(parent), rows_(rows) {
    const Definition* const instances[] = {IndexedDefinitions::ip(parent),
                                           IndexedDefinitions::btle(parent)};
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const auto which = static_cast<std::size_t>(rows[i].instance);
      if (instances[which] == nullptr) continue;
      const auto value = valueOf(*instances[which], rows[i].key);
      if (value) keys_[i] = keyFor(i, *value);
      values_[i] = value;
    }
  }
  FamilyKeys(const FamilyKeys&) = delete;
  FamilyKeys& operator=(const FamilyKeys&) = delete;

  void raiseIfTaken(const KeyTable& taken) const {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if (!keys_[i] || !taken.contains(*keys_[i])) continue;
      raiseLoadAssertion(fmt::format(fmt::runtime(rows_[i].text),
                                     valueOf(parent_, rows_[i].key).value_or(kNullText)),
                         parent_.element());
    }
  }

  void addTo(KeyTable& parents, std::uint32_t position) {
    for (auto& key : keys_) {
      if (key) parents.insert(*key, position);
    }
  }

  void addTo(KeyTable& instances, Instance instance, std::uint32_t position) {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if (keys_[i] && rows_[i].instance == instance) instances.insert(*keys_[i], position);
    }
  }

 private:
  KeyTable::Key keyFor(std::size_t row, std::string_view value) {
    // What both instances have from their parent is lower-cased and hashed once.
    for (std::size_t earlier = 0; earlier < row; ++earlier) {
      if (rows_[earlier].key == rows_[row].key && values_[earlier] &&
          values_[earlier]->data() == value.data()) {
        return *keys_[earlier];
      }
    }
    if (rows_[row].key != Key::name || isPlainLowercase(value)) return KeyTable::Key(value);
    std::string& lowercase = lowercaseNames_[static_cast<std::size_t>(rows_[row].instance)];
    lowercase = lowercased(value);
    return KeyTable::Key(lowercase);
  }

  const Definition& parent_;
  std::span<const UniquenessRow, 6> rows_;
  std::array<std::string, 2> lowercaseNames_;
  std::array<std::optional<std::string_view>, 6> values_;  // as they are written
  std::array<std::optional<KeyTable::Key>, 6> keys_;
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

template <class Definition>
std::uint32_t positionAfter(const std::vector<Definition>& list) {
  return static_cast<std::uint32_t>(list.size());
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
  std::vector<std::shared_ptr<QVCharacteristicXMLObject>> instances;
  SectionKeys keys;
  forEachElement(_profilesElementWithName("characteristics"), "characteristic", [&](auto element) {
    auto parent = QVCharacteristicXMLObject::initWithXMLElement(std::move(element));
    FamilyKeys own(*parent, kCharacteristicRows);
    own.raiseIfTaken(keys.parents);
    own.addTo(keys.parents, positionAfter(parents));
    if (auto ip = parent->ip()) {
      own.addTo(keys.instances[0], Instance::ip, positionAfter(instances));
      instances.push_back(std::move(ip));
    }
    if (auto btle = parent->btle()) {
      own.addTo(keys.instances[1], Instance::btle, positionAfter(instances));
      instances.push_back(std::move(btle));
    }
    parents.push_back(std::move(parent));
  });
  for (auto& instance : instances) {
    instance = FamilyKeeper<QVCharacteristicXMLObject>::separateHandle(std::move(instance));
  }
  // Deliberate: with several documents only the instances of the last one stay in the list.
  state_->transportCharacteristics.set(std::move(instances), std::move(keys.instances));
  addSection(state_->characteristics, std::move(parents), std::move(keys.parents));
}

void QVSymbolTable::_loadServices() {
  std::vector<std::shared_ptr<QVServiceXMLObject>> parents;
  KeyTable keys;
  forEachElement(_profilesElementWithName("services"), "service", [&](auto element) {
    auto parent = QVServiceXMLObject::initWithXMLElement(std::move(element));
    FamilyKeys own(*parent, kServiceRows);
    own.raiseIfTaken(keys);
    own.addTo(keys, positionAfter(parents));
    parents.push_back(std::move(parent));
  });
  addSection(state_->services, std::move(parents), std::move(keys));
}

}  // namespace qv
