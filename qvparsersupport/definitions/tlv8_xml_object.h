#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "qvparsersupport/common/number.h"
#include "qvparsersupport/definitions/definition_list.h"
#include "qvparsersupport/definitions/enum_xml_object.h"
#include "qvparsersupport/definitions/xml_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

class QVTLV8XMLObject;

// One field of a TLV8 structure: its type byte, name and format, and what restricts its value.
class QV_EXPORT QVTLV8FieldXMLObject : public QVXMLObject {
 public:
  static std::shared_ptr<QVTLV8FieldXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  static std::shared_ptr<QVTLV8FieldXMLObject> initWithArchivedRepresentation(
      const Value& representation);
  std::span<const std::string_view> allowedAttributeKeys() const override;
  // An identifier for generated source; null without a name.
  std::optional<std::string> symbolName() const;

  std::uint8_t type() const { return type_; }
  const std::optional<std::string>& name() const { return name_; }
  QVFormatType format() const { return format_; }
  // The largest allowed length of the encoded value in bytes; null when there is no limit.
  const std::optional<Number>& maximumLength() const { return maximumLength_; }
  // The enum that restricts the value, resolved once while loading; null when there is none.
  const std::shared_ptr<QVEnumXMLObject>& enumObject() const { return enumObject_; }
  const std::optional<std::string>& tlv8Name() const { return tlv8Name_; }
  // The structure of a nested TLV8, looked up by `tlv8Name` in the shared symbol table at every
  // call; null when there is no name or the table does not know it.
  std::shared_ptr<QVTLV8XMLObject> tlv8Definition() const;

  void setType(std::uint8_t type) { type_ = type; }
  void setName(std::optional<std::string> name) { name_ = std::move(name); }
  void setFormat(QVFormatType format) { format_ = format; }
  void setMaximumLength(std::optional<Number> length) { maximumLength_ = length; }
  void setEnumObject(std::shared_ptr<QVEnumXMLObject> object) { enumObject_ = std::move(object); }
  void setTlv8Name(std::optional<std::string> name) { tlv8Name_ = std::move(name); }

 protected:
  const char* className() const override { return "QVTLV8FieldXMLObject"; }
  Value::Node archived(ArchiveWriter& out) const override;
  void restore(ArchivedDictionary& from) override;

 private:
  void load(std::shared_ptr<const XMLElement> source);
  void loadType();
  void loadFormat();
  void loadMaximumLength();
  void loadEnum();
  void loadTlv8();

  std::uint8_t type_ = 0;
  std::optional<std::string> name_;
  QVFormatType format_ = QVFormatType::none;
  std::optional<Number> maximumLength_;
  std::shared_ptr<QVEnumXMLObject> enumObject_;
  std::optional<std::string> tlv8Name_;
};

// A named TLV8 structure. Of two fields with the same type the first one counts.
class QV_EXPORT QVTLV8XMLObject : public QVXMLObject {
 public:
  static std::shared_ptr<QVTLV8XMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  static std::shared_ptr<QVTLV8XMLObject> initWithArchivedRepresentation(
      const Value& representation);
  std::span<const std::string_view> allowedAttributeKeys() const override;
  // An identifier for generated source; null without a name.
  std::optional<std::string> symbolName() const;
  std::string description() const override;

  const std::optional<std::string>& name() const { return name_; }
  const DefinitionList<QVTLV8FieldXMLObject>& fields() const { return fields_; }
  void setName(std::optional<std::string> name);
  void setFields(DefinitionList<QVTLV8FieldXMLObject> fields) { fields_ = std::move(fields); }

 protected:
  const char* className() const override { return "QVTLV8XMLObject"; }
  Value::Node archived(ArchiveWriter& out) const override;
  void restore(ArchivedDictionary& from) override;

 private:
  void load(std::shared_ptr<const XMLElement> source);

  std::optional<std::string> name_;
  DefinitionList<QVTLV8FieldXMLObject> fields_;
};

}  // namespace qv
