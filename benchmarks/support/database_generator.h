#pragma once

#include <cstddef>
#include <string>

namespace qv::bench {

// Attribute databases name characteristics and services of generatedProfile with this many
// characteristics, or more.
inline constexpr std::size_t kDatabaseCharacteristics = 1000;

// An attribute database, compact JSON without fault, of at least that many bytes and at most one
// accessory more. The same size always gives the same text.
std::string attributeDatabase(std::size_t bytes);

}  // namespace qv::bench
