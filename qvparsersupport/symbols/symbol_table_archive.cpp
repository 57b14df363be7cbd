#include <cstddef>
#include <utility>

#include "qvparsersupport/definitions/definition_archive.h"
#include "qvparsersupport/symbols/family_keys.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/symbols/table_state.h"

namespace qv {

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
// Deliberate: neither unique keys nor the sanity check are asked for, as the profiles were checked
// when they were loaded; an archive written by hand can hold what no load accepts.
bool QVSymbolTable::loadArchivedRepresentation(const Value& representation,
                                               ErrorSlot errorDescription) {
  return guardedLoad(errorDescription, [&] {
    ArchiveReading reading;
    ArchivedDictionary from(representation, reading);
    state_->enums.set(DefinitionArchive::restoredList<QVEnumXMLObject>(from.array("enums")));
    state_->tlv8s.set(DefinitionArchive::restoredList<QVTLV8XMLObject>(from.array("tlv8s")));
    CharacteristicSection section;
    const ArchivedArray characteristics = from.array("characteristics");
    for (std::size_t i = 0; i < characteristics.count(); ++i) {
      auto parent =
          DefinitionArchive::restored<QVCharacteristicXMLObject>(characteristics.dictionary(i));
      FamilyKeys own(*parent);
      section.add(std::move(parent), own);
    }
    auto instances = section.listedInstances();
    state_->characteristics.set(std::move(section.parents), {std::move(section.keys)});
    // Deliberate: those of every characteristic, unlike after loading several documents.
    state_->transportCharacteristics.set(std::move(instances), std::move(section.instanceKeys));
    state_->services.set(
        DefinitionArchive::restoredList<QVServiceXMLObject>(from.array("services")));
    setLoadInProgress(false);
    return true;
  });
}

}  // namespace qv
