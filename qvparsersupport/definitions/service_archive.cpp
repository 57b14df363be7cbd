#include <utility>
#include <vector>

#include "qvparsersupport/definitions/definition_archive.h"
#include "qvparsersupport/definitions/family_archive.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace qv {

namespace {

// Deliberate: the names of the characteristics, although a profile may have referred to them by
// UTI or UUID. After several documents one name can stand for several characteristics, and the ref
// then finds the first of them, or one without the service's transport. A characteristic without a
// name, which only archives and hosts have, cannot be referred to and is left out.
ValueNode archivedRefs(const DefinitionList<QVCharacteristicXMLObject>& list, ArchiveWriter& out) {
  if (list == nullptr) return ArchiveWriter::array(nullptr, 0);
  ValueNode* const elements = out.elements(list->size());
  std::size_t count = 0;
  for (const auto& each : *list) {
    const auto name = each != nullptr ? each->nameView() : std::nullopt;
    if (name) elements[count++] = out.text(*name);
  }
  return ArchiveWriter::array(elements, count);
}

}  // namespace

std::shared_ptr<QVServiceCharacteristicReferenceXMLObject>
QVServiceCharacteristicReferenceXMLObject::initWithArchivedRepresentation(
    const Value& representation) {
  return DefinitionArchive::restored<QVServiceCharacteristicReferenceXMLObject>(representation);
}

Value::Node QVServiceCharacteristicReferenceXMLObject::archived(ArchiveWriter& out) const {
  ArchivedFields fields(out);
  fields.addText("ref", ref_);
  return fields.finish();
}

void QVServiceCharacteristicReferenceXMLObject::restore(ArchivedDictionary& from) {
  ref_ = from.ownText("ref");
}

std::shared_ptr<QVServiceXMLObject> QVServiceXMLObject::initWithArchivedRepresentation(
    const Value& representation) {
  return DefinitionArchive::restored<QVServiceXMLObject>(representation);
}

Value::Node QVServiceXMLObject::archived(ArchiveWriter& out) const {
  return FamilyArchive<QVServiceXMLObject>::archived(*this, out);
}

Value::Node QVServiceXMLObject::archivedWith(ArchivedInstances<QVServiceXMLObject>& instances,
                                             ArchiveWriter& out) const {
  ArchivedFields fields(out);
  FamilyArchive<QVServiceXMLObject>::addIdentity(*this, fields);
  fields.add("requiredRefs", archivedRefs(required(), out));
  fields.add("optionalRefs", archivedRefs(optional(), out));
  instances.addTo(fields);
  const Value::Node node = fields.finish();
  instances.setPlaces(fields);
  return node;
}

// The lists are found again by name, through this service's own transport. A service that had no
// list of its own gets an empty one.
DefinitionList<QVCharacteristicXMLObject> QVServiceXMLObject::restoredCharacteristics(
    const ArchivedArray& refs) const {
  if (refs.count() == 0) return DefinitionArchive::emptyList<QVCharacteristicXMLObject>();
  auto list = std::make_shared<std::vector<std::shared_ptr<QVCharacteristicXMLObject>>>();
  list->reserve(refs.count());
  for (std::size_t i = 0; i < refs.count(); ++i) {
    const auto ref = refs.text(i);
    if (!ref) continue;
    const auto characteristic =
        QVSymbolTable::sharedSymbolTable().parentCharacteristicWithRef(*ref);
    // Deliberate: outside a load an unknown ref is null here, which lacks the instance ("Must have
    // IP instance") as a characteristic without it does.
    list->push_back(instanceForTransport(characteristic.get(), nullptr));
  }
  return list;
}

void QVServiceXMLObject::restore(ArchivedDictionary& from) {
  FamilyArchive<QVServiceXMLObject>::restoreIdentity(*this, from);
  required_ = restoredCharacteristics(from.array("requiredRefs"));
  optional_ = restoredCharacteristics(from.array("optionalRefs"));
  FamilyArchive<QVServiceXMLObject>::restoreInstances(*this, from);
}

}  // namespace qv
