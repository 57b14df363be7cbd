#pragma once

// Internal to the symbol table: what a lookup compares, one class a kind of list. Each rule says
// when a definition matches, which keys therefore lead to it, and whether those keys can be trusted
// to stay as they are for as long as nobody writes to the definition.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/definitions/transport_family.h"
#include "qvparsersupport/definitions/xml_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

// The way into definitions for those who index them.
class IndexedDefinitions {
 public:
  // From now on, writes that could change a lookup advance the generation.
  static void mark(QVXMLObject& definition) { definition.isIndexed_ = true; }

  // Without the handle that keeps the family.
  template <class Definition>
  static Definition* ip(const QVTransportFamily<Definition>& family) {
    return family.ip_.get();
  }
  template <class Definition>
  static Definition* btle(const QVTransportFamily<Definition>& family) {
    return family.btle_.get();
  }
  // True when the definition's parent, if it has one, cannot go away before the handle does.
  template <class Definition>
  static bool keepsParentOf(const Definition& definition,
                            const std::shared_ptr<Definition>& handle) {
    const auto& parent = definition.parent_;
    const auto& owner = FamilyKeeper<Definition>::ownerOf(handle);
    return parent.expired() || (!owner.owner_before(parent) && !parent.owner_before(owner));
  }
};

inline bool equalsLowercased(std::string_view text, std::string_view lowercase) {
  return isPlainLowercase(text) ? text == lowercase : lowercased(text) == lowercase;
}

// A definition is found by its exact name.
template <class Named>
struct NameRule {
  using Definition = Named;
  using Query = std::string_view;
  static constexpr std::size_t kTables = 1;

  static std::string_view textOf(Query name) { return name; }
  static std::optional<std::size_t> tableFor(Query) { return 0; }
  static bool matches(const Definition& definition, Query name) {
    return definition.name() == name;
  }

  static bool prepare(const std::shared_ptr<Definition>& definition) {
    IndexedDefinitions::mark(*definition);
    return true;
  }
  template <class Emit>
  static void forEachKey(const Definition& definition, Emit emit) {
    if (definition.name()) emit(0, *definition.name());
  }
};

// An instance is found by its name in lower case, its UTI or its UUID.
template <class Definition>
bool instanceMatches(const Definition& instance, std::string_view ref) {
  const auto name = instance.nameView();
  return (name && equalsLowercased(*name, ref)) || instance.utiView() == ref ||
         instance.uuidView() == ref;
}

template <class Definition, class Emit>
void forEachKeyOfInstance(const Definition& instance, Emit emit) {
  if (const auto name = instance.nameView()) {
    if (isPlainLowercase(*name)) {
      emit(*name);
    } else {
      emit(std::string_view(lowercased(*name)));
    }
  }
  if (const auto uti = instance.utiView()) emit(*uti);
  if (const auto uuid = instance.uuidView()) emit(*uuid);
}

// A parent is found through its instances; the ref is in lower case.
template <class Family>
struct ParentRule {
  using Definition = Family;
  using Query = std::string_view;
  static constexpr std::size_t kTables = 1;

  static std::string_view textOf(Query ref) { return ref; }
  static std::optional<std::size_t> tableFor(Query) { return 0; }
  static bool matches(const Definition& parent, Query ref) {
    const Definition* const ip = IndexedDefinitions::ip(parent);
    const Definition* const btle = IndexedDefinitions::btle(parent);
    return (ip != nullptr && instanceMatches(*ip, ref)) ||
           (btle != nullptr && instanceMatches(*btle, ref));
  }

  // Only families as loads and restores make them: an instance whose parent lives elsewhere could
  // lose it.
  static bool prepare(const std::shared_ptr<Definition>& parent) {
    IndexedDefinitions::mark(*parent);
    if (parent->parent() != nullptr) return false;
    for (Definition* instance :
         {IndexedDefinitions::ip(*parent), IndexedDefinitions::btle(*parent)}) {
      if (instance == nullptr) continue;
      IndexedDefinitions::mark(*instance);
      const auto above = instance->parent();
      if (above != nullptr && above != parent) return false;
      if (!IndexedDefinitions::keepsParentOf(*instance, parent)) return false;
    }
    return true;
  }
  template <class Emit>
  static void forEachKey(const Definition& parent, Emit emit) {
    for (const Definition* instance :
         {IndexedDefinitions::ip(parent), IndexedDefinitions::btle(parent)}) {
      if (instance != nullptr) {
        forEachKeyOfInstance(*instance, [&](std::string_view key) { emit(0, key); });
      }
    }
  }
};

// An instance is found by a ref in lower case among those of one transport.
template <class Instance>
struct InstanceRule {
  using Definition = Instance;
  struct Query {
    std::string_view ref;
    QVTransport transport;
  };
  static constexpr std::size_t kTables = 2;

  static std::string_view textOf(const Query& query) { return query.ref; }
  // Definitions of other transports, which archives and hosts can have, are not indexed.
  static std::optional<std::size_t> tableFor(QVTransport transport) {
    if (transport == QVTransport::ip) return 0;
    if (transport == QVTransport::btle) return 1;
    return std::nullopt;
  }
  static std::optional<std::size_t> tableFor(const Query& query) {
    return tableFor(query.transport);
  }
  static bool matches(const Definition& instance, const Query& query) {
    return instance.transport() == query.transport && instanceMatches(instance, query.ref);
  }

  static bool prepare(const std::shared_ptr<Definition>& instance) {
    IndexedDefinitions::mark(*instance);
    const auto parent = instance->parent();
    if (parent == nullptr) return true;
    IndexedDefinitions::mark(*parent);
    return parent->parent() == nullptr && IndexedDefinitions::keepsParentOf(*instance, instance);
  }
  template <class Emit>
  static void forEachKey(const Definition& instance, Emit emit) {
    const auto table = tableFor(instance.transport());
    if (!table) return;
    forEachKeyOfInstance(instance, [&](std::string_view key) { emit(*table, key); });
  }
};

}  // namespace qv
