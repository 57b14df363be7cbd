#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/json/ip_json_object.h"
#include "qvparsersupport/tlv8/tlv8_packet.h"
#include "tools/qvcheck/attribute_names.h"

namespace qv::check {

// What a dictionary of a JSON body is, "service 1.8  Lightbulb"; empty when that is not known.
// `object` is what was read from it, null when nothing was; what gives both ids is known all the
// same.
std::string labelOf(const Value& dictionary, const QVIPJSONObject* object,
                    const AttributeNames& names);

// What a value stands for beyond what its JSON text says.
struct ValueNote {
  std::string text;
  // A value that is a TLV8 structure, and its definition; null when it is none.
  std::shared_ptr<QVTLV8Packet> packet;
  std::shared_ptr<QVTLV8XMLObject> structure;
};

// Of the value under a key of the dictionary, that a child object (null for none) was made from.
ValueNote noteOf(const Value& dictionary, const QVIPJSONObject* object, std::string_view key,
                 const Value& value, const QVIPJSONObject* child, const AttributeNames& names);

}  // namespace qv::check
