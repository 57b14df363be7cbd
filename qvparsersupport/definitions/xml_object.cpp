#include "qvparsersupport/definitions/xml_object.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/definitions/child_elements.h"
#include "qvparsersupport/definitions/lookup_generation.h"

namespace qv {

std::shared_ptr<QVXMLObject> QVXMLObject::initWithXMLElement(
    std::shared_ptr<const XMLElement> element) {
  auto object = std::make_shared<QVXMLObject>();
  object->initWithElement(std::move(element));
  return object;
}

void QVXMLObject::initWithElement(std::shared_ptr<const XMLElement> element) {
  element_ = std::move(element);
  if (element_ == nullptr) return;
  const auto allowed = allowedAttributeKeys();
  for (const XMLAttribute& attribute : element_->attributes()) {
    if (std::find(allowed.begin(), allowed.end(), attribute.name) != allowed.end()) continue;
    raise(fmt::format("Unknown attribute {} provided to {}", attribute.name, element_->name()));
  }
}

std::string_view QVXMLObject::valueOfTag(std::string_view tag, std::string_view attribute) const {
  if (const auto value = optionalValueOfTag(tag, attribute)) return *value;
  raise(fmt::format("Must have attribute '{}' for '{}' element {}", attribute, tag, elementText()));
}

std::optional<std::string_view> QVXMLObject::optionalValueOfTag(std::string_view tag,
                                                                std::string_view attribute) const {
  return valueAmong(childrenWithTag(element_.get(), tag), attribute);
}

std::optional<std::string_view> QVXMLObject::valueAmong(const TaggedChildren& children,
                                                        std::string_view attribute) const {
  std::optional<std::string_view> result;
  const XMLElement* child = children.first;
  for (std::size_t left = children.count; left > 0; --left) {
    const auto value = child->attribute(attribute);
    // Deliberate: the first place is followed by two quotes.
    if (result && value) {
      raise(fmt::format("Duplicate definition of element '{}''s attribute '{}' on element {}",
                        children.tag, attribute, elementText()),
            child);
    }
    if (value) result = value;
    if (left > 1) child = child->nextNamed(children.tag);
  }
  return result;
}

std::string_view QVXMLObject::requiredAttribute(std::string_view attribute) const {
  if (element_ != nullptr) {
    if (const auto value = element_->attribute(attribute)) return *value;
  }
  raise(fmt::format("'{}' not found on element {}", attribute, elementText()));
}

std::string QVXMLObject::elementText() const {
  return element_ == nullptr ? kNullText : element_->markup();
}

void QVXMLObject::raise(std::string reason, SourceOrigin origin) const {
  raiseLoadAssertion(std::move(reason), element_, origin);
}

void QVXMLObject::raise(std::string reason, const XMLElement* child, SourceOrigin origin) const {
  raiseLoadAssertion(std::move(reason), child != nullptr ? handleTo(child) : element_, origin);
}

std::string QVXMLObject::description() const {
  return fmt::format("<{}: {}>", className(), static_cast<const void*>(this));
}

std::string QVXMLObject::descriptionWithName(const std::optional<std::string>& name) const {
  return fmt::format("{} => {}", QVXMLObject::description(), textOrNull(name));
}

std::shared_ptr<const XMLElement> QVXMLObject::elementOfNode(const XMLNode& node) {
  const XMLElement* element = node.asElement();
  if (element == nullptr) raiseLoadAssertion("node must be of type XMLElement");
  return element->handle();
}

void QVXMLObject::noteLookupKeyChange() {
  advanceLookupGeneration();
}

}  // namespace qv
