#include "qvparsersupport/definitions/definition_archive.h"
#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace qv {

std::shared_ptr<QVTLV8FieldXMLObject> QVTLV8FieldXMLObject::initWithArchivedRepresentation(
    const Value& representation) {
  return DefinitionArchive::restored<QVTLV8FieldXMLObject>(representation);
}

// Deliberate: the maximum length is not archived, so a restored field has none.
Value::Node QVTLV8FieldXMLObject::archived(ArchiveWriter& out) const {
  ArchivedFields fields(out);
  fields.addNumber("type", Number::uint8(type_));
  fields.addText("name", name_);
  fields.addInteger("format", static_cast<std::int64_t>(format_));
  if (enumObject_ != nullptr) fields.addText("enumName", enumObject_->name());
  fields.addText("tlv8Name", tlv8Name_);
  return fields.finish();
}

void QVTLV8FieldXMLObject::restore(ArchivedDictionary& from) {
  type_ = static_cast<std::uint8_t>(from.integer("type"));
  name_ = from.ownText("name");
  format_ = static_cast<QVFormatType>(from.integer("format"));
  if (const auto enumName = from.text("enumName")) {
    enumObject_ = QVSymbolTable::sharedSymbolTable().enumWithName(*enumName);
  }
  tlv8Name_ = from.ownText("tlv8Name");
}

std::shared_ptr<QVTLV8XMLObject> QVTLV8XMLObject::initWithArchivedRepresentation(
    const Value& representation) {
  return DefinitionArchive::restored<QVTLV8XMLObject>(representation);
}

Value::Node QVTLV8XMLObject::archived(ArchiveWriter& out) const {
  ArchivedFields fields(out);
  fields.addText("name", name_);
  fields.add("fields", DefinitionArchive::archivedList(fields_.get(), out));
  return fields.finish();
}

void QVTLV8XMLObject::restore(ArchivedDictionary& from) {
  name_ = from.ownText("name");
  fields_ = DefinitionArchive::restoredParts<QVTLV8FieldXMLObject>(from.array("fields"));
}

}  // namespace qv
