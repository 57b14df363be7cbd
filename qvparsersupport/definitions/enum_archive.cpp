#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/definitions/definition_archive.h"
#include "qvparsersupport/definitions/enum_xml_object.h"

namespace qv {

std::shared_ptr<QVEnumValueXMLObject> QVEnumValueXMLObject::initWithArchivedRepresentation(
    const Value& representation) {
  return DefinitionArchive::restored<QVEnumValueXMLObject>(representation);
}

Value::Node QVEnumValueXMLObject::archived(ArchiveWriter& out) const {
  ArchivedFields fields(out);
  fields.addText("symbol", symbol_);
  fields.addText("value", value_);
  fields.addText("valueDescription", valueDescription_);
  return fields.finish();
}

void QVEnumValueXMLObject::restore(ArchivedDictionary& from) {
  symbol_ = from.ownText("symbol");
  value_ = from.ownText("value");
  valueDescription_ = from.ownText("valueDescription");
}

std::shared_ptr<QVEnumXMLObject> QVEnumXMLObject::initWithArchivedRepresentation(
    const Value& representation) {
  return DefinitionArchive::restored<QVEnumXMLObject>(representation);
}

Value::Node QVEnumXMLObject::archived(ArchiveWriter& out) const {
  ArchivedFields fields(out);
  fields.addText("name", name_);
  fields.addInteger("format", static_cast<std::int64_t>(format_));
  fields.add("values", DefinitionArchive::archivedList(values_.get(), out));
  fields.addText("bitmask", isBitmask_ ? "YES" : "NO");
  return fields.finish();
}

void QVEnumXMLObject::restore(ArchivedDictionary& from) {
  name_ = from.ownText("name");
  format_ = static_cast<QVFormatType>(from.integer("format"));
  values_ = DefinitionArchive::restoredParts<QVEnumValueXMLObject>(from.array("values"));
  const auto bitmask = from.text("bitmask");
  // Deliberate: an archive that does not say makes a bitmask, and so does one that says it with
  // another kind of value (false, 0, null), which reads like none.
  isBitmask_ = !bitmask || lowercased(*bitmask) == "yes";
}

}  // namespace qv
