#pragma once

#include <memory>
#include <optional>
#include <string>

#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/definition_list.h"
#include "qvparsersupport/definitions/transport_family.h"
#include "qvparsersupport/definitions/xml_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

class ArchivedArray;
class QVServiceXMLObject;

extern template class QVTransportFamily<QVServiceXMLObject>;

// One reference of a service to a characteristic by name, UTI or UUID. Made only while resolving.
class QV_EXPORT QVServiceCharacteristicReferenceXMLObject : public QVXMLObject {
 public:
  static std::shared_ptr<QVServiceCharacteristicReferenceXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  // The parent characteristic that the element's reference names in the shared symbol table; raises
  // the load-assertion error when there is none.
  static std::shared_ptr<QVCharacteristicXMLObject> resolveReferenceWithElement(
      std::shared_ptr<const XMLElement> element);
  static std::shared_ptr<QVServiceCharacteristicReferenceXMLObject> initWithArchivedRepresentation(
      const Value& representation);
  std::span<const std::string_view> allowedAttributeKeys() const override;

  const std::optional<std::string>& ref() const { return ref_; }  // lower case
  void setRef(std::optional<std::string> ref) { ref_ = std::move(ref); }

 protected:
  const char* className() const override { return "QVServiceCharacteristicReferenceXMLObject"; }
  Value::Node archived(ArchiveWriter& out) const override;
  void restore(ArchivedDictionary& from) override;

 private:
  void load(std::shared_ptr<const XMLElement> source);

  std::optional<std::string> ref_;
};

// A function of an accessory: the characteristics that it must and may have. A small tree of a
// parent and its transport instances (see QVTransportFamily). The lists hold transport instances of
// characteristics.
class QV_EXPORT QVServiceXMLObject : public QVTransportFamily<QVServiceXMLObject> {
 public:
  static std::shared_ptr<QVServiceXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  static std::shared_ptr<QVServiceXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element, const std::shared_ptr<QVServiceXMLObject>& parent,
      QVTransport transport);
  static std::shared_ptr<QVServiceXMLObject> initWithArchivedRepresentation(
      const Value& representation);
  std::span<const std::string_view> allowedAttributeKeys() const override;
  // An identifier for generated source; null without a name.
  std::optional<std::string> symbolName() const;

  // Inherited from the parent when unset.
  DefinitionList<QVCharacteristicXMLObject> required() const;
  DefinitionList<QVCharacteristicXMLObject> optional() const;

  // Each sets this object's own value only.
  void setRequired(DefinitionList<QVCharacteristicXMLObject> list) { required_ = std::move(list); }
  void setOptional(DefinitionList<QVCharacteristicXMLObject> list) { optional_ = std::move(list); }

 protected:
  const char* className() const override { return "QVServiceXMLObject"; }
  Value::Node archived(ArchiveWriter& out) const override;
  void restore(ArchivedDictionary& from) override;

 private:
  friend class FamilyArchive<QVServiceXMLObject>;
  friend class QVTransportFamily<QVServiceXMLObject>;

  void load(std::shared_ptr<const XMLElement> source,
            const std::shared_ptr<QVServiceXMLObject>& parent, QVTransport transport);
  DefinitionList<QVCharacteristicXMLObject> resolvedList(const TaggedChildren& list) const;
  std::shared_ptr<QVCharacteristicXMLObject> instanceForTransport(
      const QVCharacteristicXMLObject* characteristic,
      const std::shared_ptr<const XMLElement>& reference) const;
  void validateContents() const;
  Value::Node archivedWith(ArchivedInstances<QVServiceXMLObject>& instances,
                           ArchiveWriter& out) const;
  DefinitionList<QVCharacteristicXMLObject> restoredCharacteristics(
      const ArchivedArray& refs) const;

  DefinitionList<QVCharacteristicXMLObject> required_;
  DefinitionList<QVCharacteristicXMLObject> optional_;
};

}  // namespace qv
