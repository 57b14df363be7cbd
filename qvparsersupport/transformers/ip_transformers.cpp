#include "qvparsersupport/transformers/ip_transformers.h"

#include <iterator>

#include "qvparsersupport/transformers/value_coding.h"

namespace qv {

namespace {

enum class NumberCheck : std::uint8_t { floatOrInteger, integer, boolean };

struct NumberTypeRow {
  QVFormatType format;
  NumberCheck check;
};

// By number type.
constexpr NumberTypeRow kNumberTypes[] = {
    {QVFormatType::floatingPoint, NumberCheck::floatOrInteger},
    {QVFormatType::integer, NumberCheck::integer},
    {QVFormatType::uint8, NumberCheck::integer},
    {QVFormatType::uint16, NumberCheck::integer},
    {QVFormatType::uint32, NumberCheck::integer},
    {QVFormatType::uint64, NumberCheck::integer},
    {QVFormatType::boolean, NumberCheck::boolean},
};

void checkNumber(NumberCheck check, const Number& number, ErrorSlot errorDescription) {
  switch (check) {
    case NumberCheck::floatOrInteger:
      if (number.isFloatKind() || number.isIntegerKind()) return;
      fail(errorDescription, "Number is not a float.");
      return;
    case NumberCheck::integer:
      if (number.isIntegerKind()) return;
      fail(errorDescription, "Number is not an integer.");
      return;
    case NumberCheck::boolean:
      if (!number.isIntegerKind()) {
        fail(errorDescription, "Number is not a boolean.");
      } else if (number.uint64Value() > 1) {
        fail(errorDescription, "Boolean value out of range");
      }
      return;
  }
}

}  // namespace

std::optional<Value> QVIPTransformer::transformValue(const std::optional<Value>& value,
                                                     ErrorSlot errorDescription) const {
  return checkedValue(value, errorDescription);
}

std::optional<Value> QVIPTransformer::reverseTransformValue(const std::optional<Value>& value,
                                                            ErrorSlot errorDescription) const {
  return checkedValue(value, errorDescription);
}

std::optional<Value> QVIPTransformer::checkedValue(const std::optional<Value>& value,
                                                   ErrorSlot errorDescription) const {
  return QVTransformer::transformValue(value, errorDescription);
}

std::shared_ptr<QVIPNumberTransformer> QVIPNumberTransformer::transformerWithIPNumber(
    std::uint8_t numberType) {
  return std::make_shared<QVIPNumberTransformer>(numberType);
}

QVTransformerList QVIPNumberTransformer::sharedInstances() {
  QVTransformerList list;
  for (std::size_t type = 0; type < std::size(kNumberTypes); ++type) {
    list.push_back(transformerWithIPNumber(static_cast<std::uint8_t>(type)));
  }
  return list;
}

QVFormatType QVIPNumberTransformer::format() const {
  return numberType_ < std::size(kNumberTypes) ? kNumberTypes[numberType_].format
                                               : QVFormatType::none;
}

std::optional<Value> QVIPNumberTransformer::checkedValue(const std::optional<Value>& value,
                                                         ErrorSlot errorDescription) const {
  if (value && value->isNull()) return value;
  const std::optional<Number> number = requireNumber(value, errorDescription);
  if (number && numberType_ < std::size(kNumberTypes)) {
    checkNumber(kNumberTypes[numberType_].check, *number, errorDescription);
  }
  return value;
}

QVTransformerList QVIPStringTransformer::sharedInstances() {
  return {std::make_shared<QVIPStringTransformer>()};
}

std::optional<Value> QVIPStringTransformer::checkedValue(const std::optional<Value>& value,
                                                         ErrorSlot errorDescription) const {
  if (!value || !value->isString()) fail(errorDescription, "Value is not a string.");
  return value;
}

QVTransformerList QVIPBlobTransformer::sharedInstances() {
  return {std::make_shared<QVIPBlobTransformer>()};
}

std::optional<Value> QVIPBlobTransformer::checkedValue(const std::optional<Value>& value,
                                                       ErrorSlot errorDescription) const {
  if (!value || !(value->isString() || value->isBytes())) {
    fail(errorDescription, "Value is not a base-64 encoded string or a raw data object.");
  }
  return value;
}

QVTransformerList QVIPArrayTransformer::sharedInstances() {
  return {std::make_shared<QVIPArrayTransformer>()};
}

std::optional<Value> QVIPArrayTransformer::checkedValue(const std::optional<Value>& value,
                                                        ErrorSlot errorDescription) const {
  if (!value || !value->isArray()) fail(errorDescription, "Value is not an array.");
  return value;
}

QVTransformerList QVIPObjectTransformer::sharedInstances() {
  return {std::make_shared<QVIPObjectTransformer>()};
}

std::optional<Value> QVIPObjectTransformer::checkedValue(const std::optional<Value>& value,
                                                         ErrorSlot) const {
  return value;
}

}  // namespace qv
