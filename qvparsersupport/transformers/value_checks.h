#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/number.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/definitions/enum_xml_object.h"

namespace qv {

class QVTransformer;

// The steps of validating a value against a definition, in their order. Each answers false or null
// and stores its text when the value fails.

// The encoded form. The transformer's own text decides, also when it comes along with a value; the
// caller's slot is not what is looked at.
std::optional<Value> requireEncoded(const QVTransformer& transformer,
                                    const std::optional<Value>& value, ErrorSlot errorDescription);
// `length` is null for an encoded form that has none; there is nothing to check without a maximum.
bool checkLength(std::optional<std::uint64_t> length, const std::optional<Number>& maximum,
                 ErrorSlot errorDescription);
// Looks at the value before it was encoded.
bool checkEnum(const std::optional<Value>& value,
               const std::shared_ptr<QVEnumXMLObject>& definition, ErrorSlot errorDescription);

}  // namespace qv
