#pragma once

// Internal to the definitions: archiving and restoring what characteristic and service definitions
// have in common.

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include "qvparsersupport/definitions/definition_archive.h"
#include "qvparsersupport/definitions/transport_family.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

// Where the archived instances of a definition belong: null where it has none.
template <class Definition>
struct ArchivedInstances {
  const Definition* btle = nullptr;
  const Definition* ip = nullptr;
  ValueNode* btlePlace = nullptr;
  ValueNode* ipPlace = nullptr;

  // Adds the keys of the instances, between those that stand before and after them.
  void addTo(ArchivedFields& fields) {
    btleAt_ = fields.count();
    if (btle != nullptr) fields.add("btle", {});
    ipAt_ = fields.count();
    if (ip != nullptr) fields.add("ip", {});
  }
  void setPlaces(ArchivedFields& finished) {
    if (btle != nullptr) btlePlace = finished.valueAt(btleAt_);
    if (ip != nullptr) ipPlace = finished.valueAt(ipAt_);
  }

 private:
  std::size_t btleAt_ = 0;
  std::size_t ipAt_ = 0;
};

template <class Definition>
class FamilyArchive {
 public:
  using Family = QVTransportFamily<Definition>;
  using Instances = ArchivedInstances<Definition>;

  static ValueNode archived(const Definition& definition, ArchiveWriter& out) {
    Instances instances = instancesOf(definition);
    if (hasInstances(instances.btle) || hasInstances(instances.ip)) {
      return archivedNested(definition, out);
    }
    const ValueNode node = definition.archivedWith(instances, out);
    Instances none;
    if (instances.btle) *instances.btlePlace = instances.btle->archivedWith(none, out);
    if (instances.ip) *instances.ipPlace = instances.ip->archivedWith(none, out);
    return node;
  }

  static void addIdentity(const Definition& definition, ArchivedFields& fields) {
    fields.addInteger("transport", static_cast<std::int64_t>(definition.transport()));
    fields.addText("uuid", definition.uuidView());
    fields.addText("uti", definition.utiView());
    fields.addText("name", definition.nameView());
  }

  static void restoreIdentity(Family& definition, ArchivedDictionary& from) {
    definition.transport_ = static_cast<QVTransport>(from.integer("transport"));
    definition.uuid_ = from.ownText("uuid");
    definition.uti_ = from.ownText("uti");
    definition.name_ = from.ownText("name");
  }
  static void restoreInstances(Family& definition, ArchivedDictionary& from) {
    definition.btle_ = restoredInstance(definition, from.instance("btle"));
    definition.ip_ = restoredInstance(definition, from.instance("ip"));
  }

 private:
  static Instances instancesOf(const Family& definition) {
    Instances instances;
    instances.btle = definition.btle_.get();
    instances.ip = definition.ip_.get();
    return instances;
  }
  static bool hasInstances(const Family* instance) {
    return instance != nullptr && (instance->btle_ != nullptr || instance->ip_ != nullptr);
  }

  // Archives nest families to 64 levels, hosts to any depth and in any shape. No recursion; what
  // stands in several places is written once, and what would stand within itself is left out there.
  static ValueNode archivedNested(const Definition& top, ArchiveWriter& out) {
    struct Visit {
      ValueNode node;
      bool isOpen = true;
    };
    struct Task {
      const Definition* definition;
      ValueNode* place;  // null for the end of a definition
    };
    std::map<const Definition*, Visit> visits;
    const auto isOpen = [&visits](const Definition* instance) {
      const auto found = visits.find(instance);
      return found != visits.end() && found->second.isOpen;
    };
    ValueNode result;
    std::vector<Task> tasks{{&top, &result}};
    while (!tasks.empty()) {
      const Task task = tasks.back();
      tasks.pop_back();
      Visit& visit = visits[task.definition];
      if (task.place == nullptr) {
        visit.isOpen = false;
        continue;
      }
      if (visit.node.type == Value::Type::null) {
        Instances instances = instancesOf(*task.definition);
        if (isOpen(instances.btle)) instances.btle = nullptr;
        if (isOpen(instances.ip)) instances.ip = nullptr;
        visit.node = task.definition->archivedWith(instances, out);
        tasks.push_back({task.definition, nullptr});
        if (instances.btle) tasks.push_back({instances.btle, instances.btlePlace});
        if (instances.ip) tasks.push_back({instances.ip, instances.ipPlace});
      }
      *task.place = visit.node;
    }
    return result;
  }

  static std::shared_ptr<Definition> restoredInstance(Family& parent,
                                                      std::optional<ArchivedDictionary> from) {
    if (!from) return nullptr;
    auto instance = DefinitionArchive::restored<Definition>(*from);
    static_cast<Family&>(*instance).parent_ = parent.weak_from_this();
    return instance;
  }
};

}  // namespace qv
