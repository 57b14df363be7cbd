#pragma once

// Internal to the symbol table.

#include <memory>
#include <optional>

#include "qvparsersupport/symbols/indexed_list.h"
#include "qvparsersupport/symbols/lookup_rules.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace qv {

struct QVSymbolTable::State {
  std::shared_ptr<const XMLDocument> document;
  bool loadInProgress = false;
  IndexedList<NameRule<QVEnumXMLObject>> enums;
  IndexedList<NameRule<QVTLV8XMLObject>> tlv8s;
  IndexedList<ParentRule<QVCharacteristicXMLObject>> characteristics;
  IndexedList<InstanceRule<QVCharacteristicXMLObject>> transportCharacteristics;
  IndexedList<ParentRule<QVServiceXMLObject>> services;
  std::optional<QVLoadFault> lastLoadFault;
};

}  // namespace qv
