#pragma once

#include <memory>
#include <optional>
#include <string>

#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/definition_list.h"
#include "qvparsersupport/definitions/xml_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

// One reference of a service to a characteristic by name, UTI or UUID. Made only while resolving.
class QV_EXPORT QVServiceCharacteristicReferenceXMLObject : public QVXMLObject {
 public:
  static std::shared_ptr<QVServiceCharacteristicReferenceXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  // The parent characteristic that the element's reference names in the shared symbol table; raises
  // the load-assertion error when there is none.
  static std::shared_ptr<QVCharacteristicXMLObject> resolveReferenceWithElement(
      std::shared_ptr<const XMLElement> element);
  std::span<const std::string_view> allowedAttributeKeys() const override;

  const std::optional<std::string>& ref() const { return ref_; }  // lower case
  void setRef(std::optional<std::string> ref) { ref_ = std::move(ref); }

 protected:
  const char* className() const override { return "QVServiceCharacteristicReferenceXMLObject"; }

 private:
  std::optional<std::string> ref_;
};

// A function of an accessory: the characteristics that it must and may have. A small tree of a
// parent and its transport instances, with the inheritance and the lifetime of characteristic
// definitions (see QVCharacteristicXMLObject). The lists hold transport instances of
// characteristics.
class QV_EXPORT QVServiceXMLObject : public QVXMLObject,
                                     public std::enable_shared_from_this<QVServiceXMLObject> {
 public:
  static std::shared_ptr<QVServiceXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element);
  static std::shared_ptr<QVServiceXMLObject> initWithXMLElement(
      std::shared_ptr<const XMLElement> element, const std::shared_ptr<QVServiceXMLObject>& parent,
      QVTransport transport);
  std::span<const std::string_view> allowedAttributeKeys() const override;
  std::string description() const override;

  // Inherited from the parent when unset.
  std::optional<std::string> name() const;
  std::optional<std::string> uuid() const;  // lower case
  std::optional<std::string> uti() const;   // lower case
  DefinitionList<QVCharacteristicXMLObject> required() const;
  DefinitionList<QVCharacteristicXMLObject> optional() const;

  QVTransport transport() const { return transport_; }
  std::shared_ptr<QVServiceXMLObject> parent() const { return parent_.lock(); }
  std::shared_ptr<QVServiceXMLObject> ip() const;
  std::shared_ptr<QVServiceXMLObject> btle() const;

  // Each sets this object's own value only.
  void setName(std::optional<std::string> name);
  void setUuid(std::optional<std::string> uuid);
  void setUti(std::optional<std::string> uti);
  void setRequired(DefinitionList<QVCharacteristicXMLObject> list) { required_ = std::move(list); }
  void setOptional(DefinitionList<QVCharacteristicXMLObject> list) { optional_ = std::move(list); }
  void setTransport(QVTransport transport);
  void setParent(const std::shared_ptr<QVServiceXMLObject>& parent);
  void setIp(std::shared_ptr<QVServiceXMLObject> instance);
  void setBtle(std::shared_ptr<QVServiceXMLObject> instance);

 protected:
  const char* className() const override { return "QVServiceXMLObject"; }

 private:
  std::optional<std::string> name_;
  std::optional<std::string> uuid_;
  std::optional<std::string> uti_;
  DefinitionList<QVCharacteristicXMLObject> required_;
  DefinitionList<QVCharacteristicXMLObject> optional_;
  QVTransport transport_ = QVTransport::none;
  std::weak_ptr<QVServiceXMLObject> parent_;
  std::shared_ptr<QVServiceXMLObject> ip_;
  std::shared_ptr<QVServiceXMLObject> btle_;
};

}  // namespace qv
