#include "qvparsersupport/definitions/definition_archive.h"
#include "qvparsersupport/definitions/xml_object.h"

namespace qv {

Value QVXMLObject::archiveRepresentation() const {
  ArchiveWriter out;
  return out.take(archived(out));
}

std::shared_ptr<QVXMLObject> QVXMLObject::initWithArchivedRepresentation(
    const Value& representation) {
  return DefinitionArchive::restored<QVXMLObject>(representation);
}

Value QVXMLObject::archiveDefinitions(std::span<const QVXMLObject* const> definitions) {
  ArchiveWriter out;
  ValueNode* const elements = out.elements(definitions.size());
  for (std::size_t i = 0; i < definitions.size(); ++i) elements[i] = definitions[i]->archived(out);
  return out.take(ArchiveWriter::array(elements, definitions.size()));
}

Value::Node QVXMLObject::archived(ArchiveWriter& out) const {
  return ArchivedFields(out).finish();
}

void QVXMLObject::restore(ArchivedDictionary&) {}

}  // namespace qv
