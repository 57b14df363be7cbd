#pragma once

// Internal to the definitions.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "qvparsersupport/common/xml_tree.h"

namespace qv {

// The direct children of an element that have one tag.
struct TaggedChildren {
  std::string_view tag;
  const XMLElement* first = nullptr;
  std::size_t count = 0;
};

// Fills in the children of the element under every tag, in one pass over them. A null element has
// none.
void findChildren(const XMLElement* element, std::span<TaggedChildren> tags);

TaggedChildren childrenWithTag(const XMLElement* element, std::string_view tag);

// The first of them that has the attribute; null when none has.
const XMLElement* childWith(const TaggedChildren& children, std::string_view attribute);
// The second of them; null when there are fewer.
const XMLElement* secondOf(const TaggedChildren& children);

}  // namespace qv
