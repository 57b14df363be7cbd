#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/definition_archive.h"
#include "qvparsersupport/definitions/family_archive.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace qv {

std::shared_ptr<QVCharacteristicPropertyXMLObject>
QVCharacteristicPropertyXMLObject::initWithArchivedRepresentation(const Value& representation) {
  return DefinitionArchive::restored<QVCharacteristicPropertyXMLObject>(representation);
}

Value::Node QVCharacteristicPropertyXMLObject::archived(ArchiveWriter& out) const {
  ArchivedFields fields(out);
  fields.addText("name", name_);
  fields.addInteger("type", static_cast<std::int64_t>(type_));
  return fields.finish();
}

void QVCharacteristicPropertyXMLObject::restore(ArchivedDictionary& from) {
  name_ = from.ownText("name");
  type_ = static_cast<QVPermissionType>(from.integer("type"));
}

std::shared_ptr<QVCharacteristicXMLObject>
QVCharacteristicXMLObject::initWithArchivedRepresentation(const Value& representation) {
  return DefinitionArchive::restored<QVCharacteristicXMLObject>(representation);
}

Value::Node QVCharacteristicXMLObject::archived(ArchiveWriter& out) const {
  return FamilyArchive<QVCharacteristicXMLObject>::archived(*this, out);
}

// Deliberate: what is inherited is written as if it were the definition's own, so a restored
// instance no longer follows its parent.
Value::Node QVCharacteristicXMLObject::archivedWith(
    ArchivedInstances<QVCharacteristicXMLObject>& instances, ArchiveWriter& out) const {
  ArchivedFields fields(out);
  FamilyArchive<QVCharacteristicXMLObject>::addIdentity(*this, fields);
  fields.addInteger("format", static_cast<std::int64_t>(format()));
  fields.add("properties", DefinitionArchive::archivedList(properties().get(), out));
  instances.addTo(fields);
  fields.addNumber("minValue", minValue());
  fields.addNumber("maxValue", maxValue());
  fields.addNumber("step", step());
  fields.addText("unit", unitView());
  // Deliberate: the definition's own or none, because this limit is not inherited.
  fields.addNumber("maximumLength", maximumLength());
  if (const auto definition = enumDefinition()) fields.addText("enumName", definition->name());
  if (const auto definition = tlv8Definition()) fields.addText("tlv8Name", definition->name());
  const Value::Node node = fields.finish();
  instances.setPlaces(fields);
  return node;
}

void QVCharacteristicXMLObject::restore(ArchivedDictionary& from) {
  FamilyArchive<QVCharacteristicXMLObject>::restoreIdentity(*this, from);
  format_ = static_cast<QVFormatType>(from.integer("format"));
  properties_ =
      DefinitionArchive::restoredParts<QVCharacteristicPropertyXMLObject>(from.array("properties"));
  FamilyArchive<QVCharacteristicXMLObject>::restoreInstances(*this, from);
  if (const auto value = from.number("minValue")) setMinValue(value);
  if (const auto value = from.number("maxValue")) setMaxValue(value);
  if (const auto value = from.number("step")) setStep(value);
  if (auto unit = from.ownText("unit")) setUnit(std::move(unit));
  if (const auto length = from.number("maximumLength")) setMaximumLength(length);
  const QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  if (const auto name = from.text("enumName")) enumDefinition_ = table.enumWithName(*name);
  if (const auto name = from.text("tlv8Name")) tlv8Definition_ = table.tlv8WithName(*name);
}

}  // namespace qv
