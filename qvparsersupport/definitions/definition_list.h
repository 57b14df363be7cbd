#pragma once

#include <memory>
#include <vector>

namespace qv {

// A list of definitions in document or load order. A null list and an empty one are different
// things. Whoever holds a list may keep it: the table replaces its lists and never changes one that
// is held.
template <class Definition>
using DefinitionList = std::shared_ptr<const std::vector<std::shared_ptr<Definition>>>;

}  // namespace qv
