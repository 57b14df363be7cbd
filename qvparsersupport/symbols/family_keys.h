#pragma once

// Internal to the symbol table: the keys of characteristics and services, collected once for the
// uniqueness tests and for the index.

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/load_assertion.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/symbols/key_table.h"
#include "qvparsersupport/symbols/lookup_rules.h"

namespace qv {

// The six keys of one parent: UTI, UUID and name of its IP and then of its BLE instance. What an
// instance lacks is null.
template <class Definition>
class FamilyKeys {
 public:
  static constexpr std::size_t kCount = 6;
  // One text for each key, to be filled with the parent's own value, not the instance's.
  using Texts = std::array<const char*, kCount>;

  explicit FamilyKeys(const Definition& parent)
      : parent_(parent),
        instances_{IndexedDefinitions::ip(parent), IndexedDefinitions::btle(parent)} {
    for (std::size_t i = 0; i < kCount; ++i) {
      if (instances_[i / kFields] == nullptr) continue;
      values_[i] = valueOf(*instances_[i / kFields], i % kFields);
      if (values_[i]) keys_[i] = keyFor(i, *values_[i]);
    }
  }
  FamilyKeys(const FamilyKeys&) = delete;
  FamilyKeys& operator=(const FamilyKeys&) = delete;

  void raiseIfTaken(const KeyTable& taken, const Texts& texts) const {
    for (std::size_t i = 0; i < kCount; ++i) {
      if (!keys_[i] || !taken.contains(*keys_[i])) continue;
      raiseLoadAssertion(
          fmt::format(fmt::runtime(texts[i]), valueOf(parent_, i % kFields).value_or(kNullText)),
          parent_.element());
    }
  }

  void addTo(KeyTable& parents, std::uint32_t position) {
    for (auto& key : keys_) {
      if (key) parents.insert(*key, position);
    }
  }
  // The keys of the IP instance (0) or the BLE one (1) alone.
  void addInstanceTo(KeyTable& instances, std::size_t instance, std::uint32_t position) {
    for (std::size_t i = instance * kFields; i < (instance + 1) * kFields; ++i) {
      if (keys_[i]) instances.insert(*keys_[i], position);
    }
  }

 private:
  static constexpr std::size_t kFields = 3;
  static constexpr std::size_t kName = 2;

  static std::optional<std::string_view> valueOf(const Definition& definition, std::size_t field) {
    if (field == 0) return definition.utiView();
    return field == 1 ? definition.uuidView() : definition.nameView();
  }

  KeyTable::Key keyFor(std::size_t place, std::string_view value) {
    // What both instances have in common is lower-cased and hashed once.
    if (place >= kFields && values_[place - kFields] == value) return *keys_[place - kFields];
    if (place % kFields != kName || isPlainLowercase(value)) return KeyTable::Key(value);
    std::string& lowercase = lowercaseNames_[place / kFields];
    lowercase = lowercased(value);
    return KeyTable::Key(lowercase);
  }

  const Definition& parent_;
  std::array<const Definition*, 2> instances_;
  std::array<std::string, 2> lowercaseNames_;
  std::array<std::optional<std::string_view>, kCount> values_;  // as they are written
  std::array<std::optional<KeyTable::Key>, kCount> keys_;
};

template <class Definition>
std::uint32_t positionAfter(const std::vector<Definition>& list) {
  return static_cast<std::uint32_t>(list.size());
}

// Characteristics, their instances in order, and the keys of both.
struct CharacteristicSection {
  using List = std::vector<std::shared_ptr<QVCharacteristicXMLObject>>;

  void add(std::shared_ptr<QVCharacteristicXMLObject> parent,
           FamilyKeys<QVCharacteristicXMLObject>& own) {
    own.addTo(keys, positionAfter(parents));
    addInstance(parent->ip(), 0, own);
    addInstance(parent->btle(), 1, own);
    parents.push_back(std::move(parent));
  }

  // The handles made one after another, so that their counts lie close together.
  List listedInstances() {
    for (auto& instance : instances) {
      instance = FamilyKeeper<QVCharacteristicXMLObject>::separateHandle(std::move(instance));
    }
    return std::move(instances);
  }

  std::shared_ptr<KeyStore> store = std::make_shared<KeyStore>();
  KeyTable keys{store};
  std::array<KeyTable, 2> instanceKeys{KeyTable(store), KeyTable(store)};
  List parents;
  List instances;

 private:
  void addInstance(std::shared_ptr<QVCharacteristicXMLObject> instance, std::size_t which,
                   FamilyKeys<QVCharacteristicXMLObject>& own) {
    if (instance == nullptr) return;
    const auto table = InstanceRule<QVCharacteristicXMLObject>::tableFor(instance->transport());
    if (table) own.addInstanceTo(instanceKeys[*table], which, positionAfter(instances));
    instances.push_back(std::move(instance));
  }
};

}  // namespace qv
