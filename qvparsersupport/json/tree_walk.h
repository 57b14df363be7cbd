#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qvparsersupport/common/json_pointer.h"
#include "qvparsersupport/json/ip_json_object.h"

namespace qv {

// One text that a tree of JSON objects carries.
struct QVIPJSONFault {
  std::string text;
  std::string pointer;  // JSON Pointer to the value; for a missing key to the object that lacks it
  std::string key;      // of the journal entry that carries the text; empty for an object's own
  std::string expected;
  std::string actual;                             // as JSON text, cut where it is long
  std::shared_ptr<const QVXMLObject> definition;  // that the value is read by; may be null
};

// What a tree of JSON objects found, told from its root in the order in which it was read. Walks of
// any depth; parts without a fault are not entered. `value` is what the root was built from.
QV_EXPORT std::vector<QVIPJSONFault> faultsOfTree(const QVIPJSONObject& root,
                                                  const std::optional<Value>& value,
                                                  std::size_t limit);

// The keys that no object of the tree read. Ranges are not set.
QV_EXPORT std::vector<JSONKeyPlace> unreadKeysOfTree(const QVIPJSONObject& root, std::size_t limit);

}  // namespace qv
