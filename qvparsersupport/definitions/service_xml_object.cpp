#include "qvparsersupport/definitions/service_xml_object.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/definitions/child_elements.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace qv {

namespace {

constexpr std::string_view kReferenceKeys[] = {"ref"};
constexpr std::string_view kServiceKeys[] = {"name"};

}  // namespace

std::span<const std::string_view> QVServiceCharacteristicReferenceXMLObject::allowedAttributeKeys()
    const {
  return kReferenceKeys;
}

std::shared_ptr<QVServiceCharacteristicReferenceXMLObject>
QVServiceCharacteristicReferenceXMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element) {
  auto reference = std::make_shared<QVServiceCharacteristicReferenceXMLObject>();
  reference->load(std::move(element));
  return reference;
}

void QVServiceCharacteristicReferenceXMLObject::load(std::shared_ptr<const XMLElement> source) {
  initWithElement(std::move(source));
  ref_ = lowercased(requiredAttribute("ref"));
}

std::shared_ptr<QVCharacteristicXMLObject>
QVServiceCharacteristicReferenceXMLObject::resolveReferenceWithElement(
    std::shared_ptr<const XMLElement> element) {
  QVServiceCharacteristicReferenceXMLObject reference;
  reference.load(std::move(element));
  auto characteristic = QVSymbolTable::sharedSymbolTable().parentCharacteristicWithRef(
      *reference.ref_, reference.element().get());
  if (characteristic == nullptr) {
    reference.raise(fmt::format("Failed to resolve reference to {}", *reference.ref_));
  }
  return characteristic;
}

std::span<const std::string_view> QVServiceXMLObject::allowedAttributeKeys() const {
  return kServiceKeys;
}

std::shared_ptr<QVServiceXMLObject> QVServiceXMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element) {
  return initWithXMLElement(std::move(element), nullptr, QVTransport::none);
}

std::shared_ptr<QVServiceXMLObject> QVServiceXMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element, const std::shared_ptr<QVServiceXMLObject>& parent,
    QVTransport transport) {
  auto definition = std::make_shared<QVServiceXMLObject>();
  definition->load(std::move(element), parent, transport);
  return definition;
}

void QVServiceXMLObject::load(std::shared_ptr<const XMLElement> source,
                              const std::shared_ptr<QVServiceXMLObject>& parent,
                              QVTransport transport) {
  initWithElement(std::move(source));
  std::array<TaggedChildren, 5> children{{{"type"}, {"required"}, {"optional"}, {"ip"}, {"btle"}}};
  findChildren(element().get(), children);
  const auto& [type, required, optional, ip, btle] = children;
  loadIdentity(parent, transport, type);
  if (required.count > 1) {
    raise("There must be exactly 1 required element in a service", secondOf(required));
  }
  required_ = resolvedList(required);
  if (optional.count > 1) {
    raise("There must be exactly 1 optional element in a service", secondOf(optional));
  }
  optional_ = resolvedList(optional);
  loadInstances(parent, ip, btle);
}

DefinitionList<QVCharacteristicXMLObject> QVServiceXMLObject::resolvedList(
    const TaggedChildren& list) const {
  if (list.count == 0) return nullptr;
  auto resolved = std::make_shared<std::vector<std::shared_ptr<QVCharacteristicXMLObject>>>();
  for (auto* child = list.first->firstChildNamed("characteristic"); child != nullptr;
       child = child->nextNamed("characteristic")) {
    const auto reference = handleTo(child);
    const auto characteristic =
        QVServiceCharacteristicReferenceXMLObject::resolveReferenceWithElement(reference);
    resolved->push_back(instanceForTransport(characteristic.get(), reference));
  }
  return resolved;
}

std::shared_ptr<QVCharacteristicXMLObject> QVServiceXMLObject::instanceForTransport(
    const QVCharacteristicXMLObject* characteristic,
    const std::shared_ptr<const XMLElement>& reference) const {
  switch (transport()) {
    case QVTransport::btle: {
      auto instance = characteristic != nullptr ? characteristic->btle() : nullptr;
      if (instance == nullptr) raiseLoadAssertion("Must have BLE instance", reference);
      return instance;
    }
    case QVTransport::ip: {
      auto instance = characteristic != nullptr ? characteristic->ip() : nullptr;
      if (instance == nullptr) raiseLoadAssertion("Must have IP instance", reference);
      return instance;
    }
    default:
      raiseLoadAssertion(
          fmt::format("Invalid transport {} for service '{}'",
                      static_cast<std::int64_t>(transport()), nameView().value_or(kNullText)),
          reference);
  }
}

void QVServiceXMLObject::validateContents() const {
  if (required() == nullptr) raise("Must have required");
  if (optional() == nullptr) raise("Must have optional");
}

DefinitionList<QVCharacteristicXMLObject> QVServiceXMLObject::required() const {
  return inherited([](const QVServiceXMLObject& each) { return each.required_; });
}

DefinitionList<QVCharacteristicXMLObject> QVServiceXMLObject::optional() const {
  return inherited([](const QVServiceXMLObject& each) { return each.optional_; });
}

}  // namespace qv
