#include "qvparsersupport/transformers/transformer.h"

#include "qvparsersupport/transformers/value_checks.h"

namespace qv {

const char* const QVTransformerErrorDomain = "com.corvid.QVTransformer";

namespace {

Failure failAbstract(ErrorSlot errorDescription) {
  return fail(errorDescription, "Invalid format transformer.");
}

}  // namespace

QVTransport QVTransformer::transport() const {
  return QVTransport::none;
}

QVFormatType QVTransformer::format() const {
  return QVFormatType::none;
}

std::optional<Value> QVTransformer::transformValue(const std::optional<Value>&,
                                                   ErrorSlot errorDescription) const {
  return failAbstract(errorDescription);
}

std::optional<Value> QVTransformer::reverseTransformValue(const std::optional<Value>&,
                                                          ErrorSlot errorDescription) const {
  return failAbstract(errorDescription);
}

bool QVTransformer::validateValue(const std::optional<Value>& value,
                                  const QVCharacteristicXMLObject& characteristic,
                                  ErrorSlot errorDescription) const {
  const std::optional<Value> encoded = requireEncoded(*this, value, errorDescription);
  if (!encoded) return false;
  std::optional<std::uint64_t> length;
  if (const auto text = encoded->asString()) length = text->size();
  if (const auto bytes = encoded->asBytes()) length = bytes->size();
  return checkLength(length, characteristic.maximumLength(), errorDescription) &&
         checkEnum(value, characteristic.enumDefinition(), errorDescription);
}

}  // namespace qv
