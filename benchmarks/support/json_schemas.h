#pragma once

#include <string>

namespace qv::bench {

// JSON Schemas (draft 4) of the bodies that the library checks, for the peers: required keys,
// kinds, vocabularies, the lengths of UUIDs and what a value of each format may be. They say less
// than the library does: nothing of the definitions in a profile, and not that a "value" needs the
// permission "pr".

// The rules for values cost a schema checker the most.
std::string databaseSchema(bool withValueRules = true);

std::string readSchema();
std::string readWithStatusSchema();
std::string writeSchema();
// Of a body that need only be an object.
std::string objectSchema();

}  // namespace qv::bench
