#pragma once

#include <map>
#include <string>
#include <vector>

#include "qvparsersupport/symbols/symbol_table.h"

namespace qv::check {

// One place that uses a definition.
struct DefinitionUse {
  std::string anchor;
  std::string name;
  std::string how;  // the transport and list of a service, the field of a structure; may be empty
};

// Where on a page the definitions of the shared symbol table stand, and who uses each. Definitions
// are meant by their address: of several with one name each has its own place.
class ProfileIndex {
 public:
  explicit ProfileIndex(const QVSymbolTable& table);

  // Empty for a definition that is not on the page.
  std::string anchorOf(const void* definition) const;
  // In the order of the page, each place once.
  const std::vector<DefinitionUse>& usesOf(const void* definition) const;

 private:
  void giveAnchors(const QVSymbolTable& table);
  void addFieldUses(const QVSymbolTable& table);
  void addCharacteristicUses(const QVSymbolTable& table);
  void addServiceUses(const QVSymbolTable& table);
  // A use at the same anchor as the last one adds to how it is used.
  void addUse(const void* definition, const void* user, const std::string& name,
              const std::string& how);

  std::map<const void*, std::string> anchors_;
  std::map<const void*, std::vector<DefinitionUse>> uses_;
};

// The lists of the table, empty when null.
template <class Definition>
const std::vector<std::shared_ptr<Definition>>& itemsOf(const DefinitionList<Definition>& list) {
  static const std::vector<std::shared_ptr<Definition>> kNone;
  return list == nullptr ? kNone : *list;
}

// The definition that stands on the page for an instance: its parent.
const QVCharacteristicXMLObject* pageEntryOf(const QVCharacteristicXMLObject& characteristic);

}  // namespace qv::check
