#include "qvparsersupport/definitions/child_elements.h"

namespace qv {

void findChildren(const XMLElement* element, std::span<TaggedChildren> tags) {
  if (element == nullptr) return;
  for (const XMLNode* node = element->firstChild(); node != nullptr; node = node->nextSibling()) {
    const XMLElement* child = node->asElement();
    if (child == nullptr) continue;
    for (TaggedChildren& children : tags) {
      if (child->name() != children.tag) continue;
      if (children.count == 0) children.first = child;
      ++children.count;
      break;
    }
  }
}

TaggedChildren childrenWithTag(const XMLElement* element, std::string_view tag) {
  TaggedChildren children{tag};
  findChildren(element, {&children, 1});
  return children;
}

const XMLElement* childWith(const TaggedChildren& children, std::string_view attribute) {
  const XMLElement* child = children.first;
  while (child != nullptr && !child->attribute(attribute)) child = child->nextNamed(children.tag);
  return child;
}

const XMLElement* secondOf(const TaggedChildren& children) {
  return children.count > 1 ? children.first->nextNamed(children.tag) : nullptr;
}

}  // namespace qv
