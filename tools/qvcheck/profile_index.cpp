#include "tools/qvcheck/profile_index.h"

#include "tools/qvcheck/html.h"

namespace qv::check {

namespace {

std::string textOf(const std::optional<std::string>& name) {
  return name.value_or("");
}

}  // namespace

const QVCharacteristicXMLObject* pageEntryOf(const QVCharacteristicXMLObject& characteristic) {
  const auto parent = characteristic.parent();
  return parent != nullptr ? parent.get() : &characteristic;
}

ProfileIndex::ProfileIndex(const QVSymbolTable& table) {
  giveAnchors(table);
  addServiceUses(table);
  addCharacteristicUses(table);
  addFieldUses(table);
}

std::string ProfileIndex::anchorOf(const void* definition) const {
  const auto found = anchors_.find(definition);
  return found == anchors_.end() ? "" : found->second;
}

const std::vector<DefinitionUse>& ProfileIndex::usesOf(const void* definition) const {
  static const std::vector<DefinitionUse> kNone;
  const auto found = uses_.find(definition);
  return found == uses_.end() ? kNone : found->second;
}

void ProfileIndex::giveAnchors(const QVSymbolTable& table) {
  Anchors anchors;
  const auto give = [&](const char* prefix, const auto& list) {
    for (const auto& definition : itemsOf(list)) {
      anchors_[definition.get()] = anchors.take(prefix, textOf(definition->name()));
    }
  };
  give("service", table.services());
  give("characteristic", table.characteristics());
  give("tlv8", table.tlv8s());
  give("enum", table.enums());
}

void ProfileIndex::addUse(const void* definition, const void* user, const std::string& name,
                          const std::string& how) {
  if (definition == nullptr) return;
  std::vector<DefinitionUse>& uses = uses_[definition];
  const std::string& anchor = anchors_[user];
  if (uses.empty() || uses.back().anchor != anchor) {
    uses.push_back({anchor, name, how});
    return;
  }
  std::string& before = uses.back().how;
  const std::string over = " over BTLE";
  if (how.ends_with(over) && before == how.substr(0, how.size() - over.size()) + " over IP") {
    before += " and BTLE";
  } else if (!how.empty()) {
    before += ", " + how;
  }
}

void ProfileIndex::addServiceUses(const QVSymbolTable& table) {
  const auto add = [this](const QVServiceXMLObject& service,
                          const DefinitionList<QVCharacteristicXMLObject>& list,
                          const std::string& how) {
    for (const auto& characteristic : itemsOf(list)) {
      addUse(pageEntryOf(*characteristic), &service, textOf(service.name()), how);
    }
  };
  for (const auto& service : itemsOf(table.services())) {
    if (const auto ip = service->ip()) {
      add(*service, ip->required(), "required over IP");
      add(*service, ip->optional(), "optional over IP");
    }
    if (const auto btle = service->btle()) {
      add(*service, btle->required(), "required over BTLE");
      add(*service, btle->optional(), "optional over BTLE");
    }
  }
}

void ProfileIndex::addCharacteristicUses(const QVSymbolTable& table) {
  for (const auto& parent : itemsOf(table.characteristics())) {
    const auto ip = parent->ip();
    const auto btle = parent->btle();
    const auto add = [&](const auto& read) {
      const void* const overIP = ip != nullptr ? read(*ip) : nullptr;
      const void* const overBTLE = btle != nullptr ? read(*btle) : nullptr;
      const std::string name = textOf(parent->name());
      const bool same = ip == nullptr || btle == nullptr || overIP == overBTLE;
      addUse(overIP, parent.get(), name, same ? "" : "over IP");
      if (overBTLE != overIP) addUse(overBTLE, parent.get(), name, same ? "" : "over BTLE");
    };
    add([](const QVCharacteristicXMLObject& c) -> const void* { return c.enumDefinition().get(); });
    add([](const QVCharacteristicXMLObject& c) -> const void* { return c.tlv8Definition().get(); });
  }
}

void ProfileIndex::addFieldUses(const QVSymbolTable& table) {
  for (const auto& definition : itemsOf(table.tlv8s())) {
    for (const auto& field : itemsOf(definition->fields())) {
      const std::string how = "field " + textOf(field->name());
      addUse(field->enumObject().get(), definition.get(), textOf(definition->name()), how);
      addUse(field->tlv8Definition().get(), definition.get(), textOf(definition->name()), how);
    }
  }
}

}  // namespace qv::check
