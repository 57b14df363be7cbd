#pragma once

// Internal to the definitions and the symbol table: writing and reading archived representations.
// A whole archive is written into one storage. Reading never looks at a value before its type is
// known: a key that holds something else than what is wanted reads like a missing one.

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/number.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/common/value_storage.h"
#include "qvparsersupport/definitions/definition_list.h"
#include "qvparsersupport/definitions/xml_object.h"

namespace qv {

class ArchiveWriter {
 public:
  ArchiveWriter() : storage_(ValueStorage::make()) {}

  // Ends the writing.
  Value take(const ValueNode& node) { return ValueBuilder::adopt(node, std::move(storage_)); }

  // The text must stay where it is until the writing ends: a long one that comes again, as the name
  // of a characteristic does in each service that refers to it, is written once.
  ValueNode text(std::string_view text);
  // Room for the elements of an array, and the array made of the first `count` of them.
  ValueNode* elements(std::size_t count);
  static ValueNode array(const ValueNode* elements, std::size_t count) {
    return ValueBuilder::nodeOf(Value::Type::array, elements, count);
  }
  ValueStorage& storage() { return *storage_; }

 private:
  // What is not longer costs no more to copy than to find again.
  static constexpr std::size_t kShortText = 64;

  ValueStorage::Owner storage_;
  std::map<std::pair<const char*, std::size_t>, const char*> copies_;
};

// The entries of one dictionary, in the order in which they are added. Null values leave no key.
class ArchivedFields {
 public:
  // The keys are not copied: they must be literals.
  explicit ArchivedFields(ArchiveWriter& out) : out_(out) {}
  ArchivedFields(const ArchivedFields&) = delete;
  ArchivedFields& operator=(const ArchivedFields&) = delete;

  void add(std::string_view key, const ValueNode& node) {
    assert(count_ < entries_.size());  // the class with the most keys has 15
    entries_[count_++] = {key, node};
  }
  void addInteger(std::string_view key, std::int64_t value) {
    add(key, ValueBuilder::nodeOf(Number::int64(value)));
  }
  void addNumber(std::string_view key, const std::optional<Number>& number) {
    if (number) add(key, ValueBuilder::nodeOf(*number));
  }
  void addText(std::string_view key, std::optional<std::string_view> text) {
    if (text) add(key, out_.text(*text));
  }
  ArchiveWriter& out() { return out_; }

  // The dictionary. The values of the entries can be set afterwards, by position.
  ValueNode finish();
  std::size_t count() const { return count_; }
  ValueNode* valueAt(std::size_t position) { return &written_[position].value; }

 private:
  ArchiveWriter& out_;
  std::array<ValueEntryNode, ValueStorage::kLinearLookup> entries_;
  std::size_t count_ = 0;
  ValueEntryNode* written_ = nullptr;
};

class ArchivedDictionary;

// What a whole restore counts. Values that a host builds can share their parts, so that a few nodes
// stand for billions of definitions.
struct ArchiveReading {
  std::size_t nestedInstances = 0;  // those of instances
};

// What is found under a key, for as long as the representation lives.
class ArchivedArray {
 public:
  ArchivedArray() = default;
  ArchivedArray(const ValueNode* node, int level, ArchiveReading& reading);

  std::size_t count() const { return node_ != nullptr ? node_->size : 0; }
  std::optional<std::string_view> text(std::size_t index) const;
  // An element that is no dictionary reads as an empty one.
  ArchivedDictionary dictionary(std::size_t index) const;

 private:
  const ValueNode* node_ = nullptr;
  ArchiveReading* reading_ = nullptr;
  int level_ = 0;
};

class ArchivedDictionary {
 public:
  // Containers within containers that are followed; deeper ones raise the load-assertion error.
  static constexpr int kMaximumLevel = 64;
  // Instances of instances that a restore makes; one more raises the load-assertion error.
  static constexpr std::size_t kMaximumNestedInstances = 100'000;

  ArchivedDictionary(const Value& representation, ArchiveReading& reading)
      : ArchivedDictionary(&ValueBuilder::node(representation), 1, reading) {}
  ArchivedDictionary(const ValueNode* node, int level, ArchiveReading& reading);

  std::optional<std::string_view> text(std::string_view key);
  std::optional<std::string> ownText(std::string_view key);
  std::optional<Number> number(std::string_view key);
  std::int64_t integer(std::string_view key);  // 0 for none
  ArchivedArray array(std::string_view key);   // empty for none
  // An instance of the definition that this is; null for none.
  std::optional<ArchivedDictionary> instance(std::string_view key);

 private:
  const ValueNode* find(std::string_view key, Value::Type type);

  const ValueNode* node_;
  ArchiveReading* reading_;
  int level_;
  bool isInstance_ = false;
  std::size_t next_ = 0;  // archives are read in the order in which they were written
};

// The way into definitions for those who archive and restore them.
class DefinitionArchive {
 public:
  static ValueNode archived(const QVXMLObject& definition, ArchiveWriter& out) {
    return definition.archived(out);
  }

  template <class Definition>
  static std::shared_ptr<Definition> restored(ArchivedDictionary from) {
    auto definition = std::make_shared<Definition>();
    static_cast<QVXMLObject&>(*definition).restore(from);
    return definition;
  }
  template <class Definition>
  static std::shared_ptr<Definition> restored(const Value& representation) {
    ArchiveReading reading;
    return restored<Definition>(ArchivedDictionary(representation, reading));
  }

  // Null elements, which only a host can have put there, are left out.
  template <class Definition>
  static ValueNode archivedList(const std::vector<std::shared_ptr<Definition>>* list,
                                ArchiveWriter& out) {
    if (list == nullptr) return ArchiveWriter::array(nullptr, 0);
    ValueNode* const elements = out.elements(list->size());
    std::size_t count = 0;
    for (const auto& each : *list) {
      if (each != nullptr) elements[count++] = archived(*each, out);
    }
    return ArchiveWriter::array(elements, count);
  }

  template <class Definition>
  static std::vector<std::shared_ptr<Definition>> restoredList(const ArchivedArray& from) {
    std::vector<std::shared_ptr<Definition>> list;
    list.reserve(from.count());
    for (std::size_t i = 0; i < from.count(); ++i) {
      list.push_back(restored<Definition>(from.dictionary(i)));
    }
    return list;
  }
  // For the parts of one definition, which are made in one block.
  template <class Part>
  static DefinitionList<Part> restoredParts(const ArchivedArray& from) {
    if (from.count() == 0) return emptyList<Part>();
    auto list = std::make_shared<std::vector<std::shared_ptr<Part>>>();
    const auto block = std::make_shared_for_overwrite<Part[]>(from.count());
    list->reserve(from.count());
    for (std::size_t i = 0; i < from.count(); ++i) {
      ArchivedDictionary dictionary = from.dictionary(i);
      Part* const part = block.get() + i;
      static_cast<QVXMLObject&>(*part).restore(dictionary);
      list->emplace_back(block, part);
    }
    return list;
  }
  // One for all: an archive can make many definitions out of a few bytes each.
  template <class Part>
  static const DefinitionList<Part>& emptyList() {
    static const auto* const list =
        new DefinitionList<Part>(std::make_shared<const std::vector<std::shared_ptr<Part>>>());
    return *list;
  }
};

}  // namespace qv
