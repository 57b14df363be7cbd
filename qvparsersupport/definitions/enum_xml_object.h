#pragma once

#include <memory>
#include <optional>
#include <string>

#include "qvparsersupport/common/value.h"
#include "qvparsersupport/definitions/definition_list.h"
#include "qvparsersupport/definitions/xml_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

class QVEnumXMLObject;

// One value of an enum: a symbol for a value that stays text until it is compared.
class QV_EXPORT QVEnumValueXMLObject : public QVXMLObject {
 public:
  static std::shared_ptr<QVEnumValueXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  static std::shared_ptr<QVEnumValueXMLObject> initWithArchivedRepresentation(
      const Value& representation);
  std::span<const std::string_view> allowedAttributeKeys() const override;

  // The value in the enum's format: a boolean number, a signed 64-bit integer (for a bitmask the
  // unsigned 64-bit number with one bit set), a double or the text itself; null for formats that
  // have no values. Text that is no number reads as 0.
  std::optional<Value> valueRepresentationUsingEnumObject(const QVEnumXMLObject& enumObject) const;

  const std::optional<std::string>& symbol() const { return symbol_; }
  const std::optional<std::string>& value() const { return value_; }
  const std::optional<std::string>& valueDescription() const { return valueDescription_; }
  void setSymbol(std::optional<std::string> symbol) { symbol_ = std::move(symbol); }
  void setValue(std::optional<std::string> value) { value_ = std::move(value); }
  void setValueDescription(std::optional<std::string> text) { valueDescription_ = std::move(text); }

 protected:
  const char* className() const override { return "QVEnumValueXMLObject"; }
  Value::Node archived(ArchiveWriter& out) const override;
  void restore(ArchivedDictionary& from) override;

 private:
  void load(std::shared_ptr<const XMLElement> source);

  std::optional<std::string> symbol_;
  std::optional<std::string> value_;
  std::optional<std::string> valueDescription_;
};

// Symbolic names for the legal values of a characteristic or a TLV8 field, or for the bits of a
// mask.
class QV_EXPORT QVEnumXMLObject : public QVXMLObject {
 public:
  static std::shared_ptr<QVEnumXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  static std::shared_ptr<QVEnumXMLObject> initWithArchivedRepresentation(
      const Value& representation);
  std::span<const std::string_view> allowedAttributeKeys() const override;
  std::string description() const override;

  // True when the value is one of the enum's, or, for a bitmask, when every bit set in it belongs
  // to some value (0 always does). False for no value and for enums whose format has no values.
  bool isValidValue(const std::optional<Value>& value) const;
  // The first value, in document order, that equals the candidate; null for none, and always for a
  // bitmask.
  std::shared_ptr<QVEnumValueXMLObject> lookupValue(const std::optional<Value>& value) const;

  const std::optional<std::string>& name() const { return name_; }
  QVFormatType format() const { return format_; }
  bool isBitmask() const { return isBitmask_; }
  const DefinitionList<QVEnumValueXMLObject>& values() const { return values_; }
  void setName(std::optional<std::string> name);
  void setFormat(QVFormatType format) { format_ = format; }
  void setIsBitmask(bool isBitmask) { isBitmask_ = isBitmask; }
  void setValues(DefinitionList<QVEnumValueXMLObject> values) { values_ = std::move(values); }

 protected:
  const char* className() const override { return "QVEnumXMLObject"; }
  Value::Node archived(ArchiveWriter& out) const override;
  void restore(ArchivedDictionary& from) override;

 private:
  void load(std::shared_ptr<const XMLElement> source);
  void loadFormat();
  void loadBitmask();
  void loadValues();

  std::optional<std::string> name_;
  QVFormatType format_ = QVFormatType::none;
  bool isBitmask_ = false;
  DefinitionList<QVEnumValueXMLObject> values_;
};

}  // namespace qv
