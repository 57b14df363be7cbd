#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/number.h"
#include "qvparsersupport/definitions/definition_list.h"
#include "qvparsersupport/definitions/enum_xml_object.h"
#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/definitions/transport_family.h"
#include "qvparsersupport/definitions/xml_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

class QVCharacteristicXMLObject;
class QVIdentifier;
class QVTransformer;

extern template class QVTransportFamily<QVCharacteristicXMLObject>;

// One permission of a characteristic.
class QV_EXPORT QVCharacteristicPropertyXMLObject : public QVXMLObject {
 public:
  static std::shared_ptr<QVCharacteristicPropertyXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  static std::shared_ptr<QVCharacteristicPropertyXMLObject> initWithArchivedRepresentation(
      const Value& representation);
  std::span<const std::string_view> allowedAttributeKeys() const override;

  const std::optional<std::string>& name() const { return name_; }
  QVPermissionType type() const { return type_; }
  void setName(std::optional<std::string> name) { name_ = std::move(name); }
  void setType(QVPermissionType type) { type_ = type; }

 protected:
  const char* className() const override { return "QVCharacteristicPropertyXMLObject"; }
  Value::Node archived(ArchiveWriter& out) const override;
  void restore(ArchivedDictionary& from) override;

 private:
  void load(std::shared_ptr<const XMLElement> source);

  std::optional<std::string> name_;
  QVPermissionType type_ = QVPermissionType::none;
};

// One kind of accessory value, as a small tree: a parent read from the `characteristic` element and
// up to two instances read from its `ip` and `btle` children (see QVTransportFamily for what they
// share and how long they live).
class QV_EXPORT QVCharacteristicXMLObject : public QVTransportFamily<QVCharacteristicXMLObject> {
 public:
  static std::shared_ptr<QVCharacteristicXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  static std::shared_ptr<QVCharacteristicXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element,
      const std::shared_ptr<QVCharacteristicXMLObject>& parentCharacteristic,
      QVTransport transport);
  // A bare definition outside any document, with only its format set.
  static std::shared_ptr<QVCharacteristicXMLObject> initWithFormat(QVFormatType format);
  static std::shared_ptr<QVCharacteristicXMLObject> initWithArchivedRepresentation(
      const Value& representation);
  std::span<const std::string_view> allowedAttributeKeys() const override;
  // An identifier for generated source, an instance's with "IP" or "BTLE" in front; null without
  // a name.
  std::optional<std::string> symbolName() const;

  // Inherited from the parent when unset; null (format: none) when the parent has none either.
  QVFormatType format() const;
  DefinitionList<QVCharacteristicPropertyXMLObject> properties() const;
  // Signed 64-bit integers for the integer formats, single-precision floats for `float`.
  std::optional<Number> minValue() const;
  std::optional<Number> maxValue() const;
  std::optional<Number> step() const;
  std::optional<std::string> unit() const;  // as written
  std::shared_ptr<QVEnumXMLObject> enumDefinition() const;
  std::shared_ptr<QVTLV8XMLObject> tlv8Definition() const;

  // Deliberate: the one limit that is not inherited.
  const std::optional<Number>& maximumLength() const { return rare().maximumLength; }

  // Two slots for a client's own use; null at first, never touched by the library.
  using Transformers = std::optional<std::vector<std::shared_ptr<const QVTransformer>>>;
  using Identifiers = std::optional<std::vector<std::shared_ptr<QVIdentifier>>>;
  const Transformers& cachedTransformers() const { return rare().cachedTransformers; }
  const Identifiers& cachedIdentifiers() const { return rare().cachedIdentifiers; }
  void setCachedTransformers(Transformers list) { ownRare().cachedTransformers = std::move(list); }
  void setCachedIdentifiers(Identifiers list) { ownRare().cachedIdentifiers = std::move(list); }

  // Each sets this object's own value only.
  void setFormat(QVFormatType format) { format_ = format; }
  void setProperties(DefinitionList<QVCharacteristicPropertyXMLObject> list) {
    properties_ = std::move(list);
  }
  void setMinValue(std::optional<Number> value) { ownRare().minValue = value; }
  void setMaxValue(std::optional<Number> value) { ownRare().maxValue = value; }
  void setStep(std::optional<Number> value) { ownRare().step = value; }
  void setUnit(std::optional<std::string> unit) { ownRare().unit = std::move(unit); }
  void setMaximumLength(std::optional<Number> length) { ownRare().maximumLength = length; }
  void setEnumDefinition(std::shared_ptr<QVEnumXMLObject> definition) {
    enumDefinition_ = std::move(definition);
  }
  void setTlv8Definition(std::shared_ptr<QVTLV8XMLObject> definition) {
    tlv8Definition_ = std::move(definition);
  }

 protected:
  const char* className() const override { return "QVCharacteristicXMLObject"; }
  Value::Node archived(ArchiveWriter& out) const override;
  void restore(ArchivedDictionary& from) override;

 private:
  friend class FamilyArchive<QVCharacteristicXMLObject>;
  friend class QVTransportFamily<QVCharacteristicXMLObject>;
  struct Children;
  // What most definitions do not have; kept apart because a profile makes three definitions of
  // every characteristic.
  struct Rare {
    std::optional<Number> minValue;
    std::optional<Number> maxValue;
    std::optional<Number> step;
    std::optional<Number> maximumLength;
    std::optional<std::string> unit;
    Transformers cachedTransformers;
    Identifiers cachedIdentifiers;
  };

  const Rare& rare() const { return rare_ != nullptr ? *rare_ : noRare(); }
  Rare& ownRare();
  static const Rare& noRare();
  std::optional<std::string_view> unitView() const;

  void load(std::shared_ptr<const XMLElement> source,
            const std::shared_ptr<QVCharacteristicXMLObject>& parentCharacteristic,
            QVTransport transport);
  void loadFormat(const TaggedChildren& format);
  std::optional<Number> limitFromText(std::string_view text) const;
  void loadRange(const Children& children);
  void loadStep(const TaggedChildren& step);
  void loadMaximumLength(const TaggedChildren& format);
  void loadEnum(const TaggedChildren& format);
  void loadTlv8(const TaggedChildren& format);
  void loadProperties(const TaggedChildren& properties);
  void validateContents() const;
  Value::Node archivedWith(ArchivedInstances<QVCharacteristicXMLObject>& instances,
                           ArchiveWriter& out) const;

  QVFormatType format_ = QVFormatType::none;
  DefinitionList<QVCharacteristicPropertyXMLObject> properties_;
  std::unique_ptr<Rare> rare_;
  std::shared_ptr<QVEnumXMLObject> enumDefinition_;
  std::shared_ptr<QVTLV8XMLObject> tlv8Definition_;
};

}  // namespace qv
