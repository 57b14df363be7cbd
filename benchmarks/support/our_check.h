#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/json/ip_json_object.h"

namespace qv::bench {

// Whether a JSON text is a sound body of the class; the tree is built and destroyed.
template <class Object>
bool isSound(std::string_view text) {
  JSONParseResult parsed = parseJSON(bytesOf(text));
  if (!parsed.value) return false;
  const auto object = QVIPJSONObject::make<Object>(std::move(parsed.value), nullptr);
  return !object->errorDescription() && !object->childObjectHasError();
}

}  // namespace qv::bench
