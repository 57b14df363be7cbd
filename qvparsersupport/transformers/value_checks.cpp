#include "qvparsersupport/transformers/value_checks.h"

#include <fmt/format.h>

#include <utility>

#include "qvparsersupport/transformers/transformer.h"

namespace qv {

std::optional<Value> requireEncoded(const QVTransformer& transformer,
                                    const std::optional<Value>& value, ErrorSlot errorDescription) {
  std::optional<std::string> transformError;
  std::optional<Value> encoded = transformer.transformValue(value, &transformError);
  if (transformError) return fail(errorDescription, *std::move(transformError));
  if (!encoded) return fail(errorDescription, "Value could not be serialized for this transport.");
  return encoded;
}

bool checkLength(std::optional<std::uint64_t> length, const std::optional<Number>& maximum,
                 ErrorSlot errorDescription) {
  if (!maximum) return true;
  if (!length) return fail(errorDescription, "Encoded value does not have an inherent length.");
  if (!std::cmp_greater(*length, maximum->int64Value())) return true;
  return fail(
      errorDescription,
      fmt::format("Encoded value is {} bytes, which is larger than the maximum of {} bytes.",
                  *length, maximum->text()));
}

bool checkEnum(const std::optional<Value>& value,
               const std::shared_ptr<QVEnumXMLObject>& definition, ErrorSlot errorDescription) {
  if (definition == nullptr || definition->isValidValue(value)) return true;
  return fail(errorDescription, "Value does not conform to allowed values");
}

}  // namespace qv
