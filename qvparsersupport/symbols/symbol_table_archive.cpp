#include <memory>
#include <utility>
#include <vector>

#include "qvparsersupport/definitions/definition_archive.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/symbols/table_state.h"

namespace qv {

namespace {

using Characteristics = std::vector<std::shared_ptr<QVCharacteristicXMLObject>>;

// The IP and the BLE instance of each, in order.
std::shared_ptr<Characteristics> instancesOfAll(const Characteristics& parents) {
  auto instances = std::make_shared<Characteristics>();
  for (const auto& parent : parents) {
    for (auto instance : {parent->ip(), parent->btle()}) {
      if (instance == nullptr) continue;
      instances->push_back(
          FamilyKeeper<QVCharacteristicXMLObject>::separateHandle(std::move(instance)));
    }
  }
  return instances;
}

}  // namespace

Value QVSymbolTable::archiveRepresentation() const {
  ArchiveWriter out;
  ArchivedFields fields(out);
  fields.add("enums", DefinitionArchive::archivedList(enums().get(), out));
  fields.add("tlv8s", DefinitionArchive::archivedList(tlv8s().get(), out));
  fields.add("characteristics", DefinitionArchive::archivedList(characteristics().get(), out));
  fields.add("services", DefinitionArchive::archivedList(services().get(), out));
  return out.take(fields.finish());
}

// Each list is stored when it is complete, so that what comes after it can refer to it.
bool QVSymbolTable::loadArchivedRepresentation(const Value& representation,
                                               ErrorSlot errorDescription) {
  return guardedLoad(errorDescription, [&] {
    ArchivedDictionary from(representation);
    setEnums(DefinitionArchive::restoredShared<QVEnumXMLObject>(from.array("enums")));
    setTlv8s(DefinitionArchive::restoredShared<QVTLV8XMLObject>(from.array("tlv8s")));
    setCharacteristics(DefinitionArchive::restoredShared<QVCharacteristicXMLObject>(
        from.array("characteristics")));
    setTransportCharacteristics(instancesOfAll(*characteristics()));
    setServices(DefinitionArchive::restoredShared<QVServiceXMLObject>(from.array("services")));
    setLoadInProgress(false);
    return true;
  });
}

}  // namespace qv
