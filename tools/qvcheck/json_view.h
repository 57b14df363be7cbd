#pragma once

#include <cstddef>
#include <memory>

#include "qvparsersupport/json/ip_json_object.h"
#include "tools/qvcheck/attribute_names.h"
#include "tools/qvcheck/view_page.h"

namespace qv::check {

// Shows a JSON value as a tree, each value with its kind. Where `object` (null for none) was read
// from it, services, characteristics and what their values stand for are named, and what was found
// faulty is marked where it stands. Values that are nested too deeply to be indented stand on one
// line.
void showJSON(ViewPage& page, std::size_t level, const Value& value,
              const std::shared_ptr<QVIPJSONObject>& object, const AttributeNames& names);

}  // namespace qv::check
