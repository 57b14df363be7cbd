#pragma once

#include <fmt/format.h>

#include <optional>
#include <string>

#include "qvparsersupport/transformers/transformer.h"
#include "tests/tlv8/tlv8_dump.h"

namespace qv::test {

// A value in words: "null", "q:-5" with the kind before a number, "'text'", "<0a 0b>", "array",
// "dict", "packet{...}"; "-" for no value at all.
inline std::string dump(const std::optional<Value>& value) {
  if (!value) return "-";
  if (value->isNull()) return "null";
  if (const auto number = value->asNumber()) {
    return fmt::format("{}:{}", static_cast<char>(number->kind()), number->text());
  }
  if (const auto text = value->asString()) return fmt::format("'{}'", *text);
  if (const auto bytes = value->asBytes()) return fmt::format("<{}>", hexOf(*bytes));
  if (value->isArray()) return "array";
  if (value->isDictionary()) return "dict";
  const auto packet = std::dynamic_pointer_cast<QVTLV8Packet>(value->asObject());
  return packet != nullptr ? "packet{" + dump(*packet) + "}" : "object";
}

inline Value bytesValue(std::string_view hex) {
  return Value::bytes(bytesFromHex(hex));
}

// The result and, behind " | ", the text, which must come without being asked for as well.
inline std::string encoded(const QVTransformer& transformer, const std::optional<Value>& value) {
  std::optional<std::string> error;
  const std::string result = dump(transformer.transformValue(value, &error));
  if (dump(transformer.transformValue(value)) != result) return "depends on the slot";
  return error ? result + " | " + *error : result;
}

inline std::string decoded(const QVTransformer& transformer, const std::optional<Value>& value) {
  std::optional<std::string> error;
  const std::string result = dump(transformer.reverseTransformValue(value, &error));
  if (dump(transformer.reverseTransformValue(value)) != result) return "depends on the slot";
  return error ? result + " | " + *error : result;
}

// "ok", or the text.
inline std::string validated(const QVTransformer& transformer, const std::optional<Value>& value,
                             const QVCharacteristicXMLObject& characteristic) {
  std::optional<std::string> error = "untouched";
  const bool isValid = transformer.validateValue(value, characteristic, &error);
  if (isValid != transformer.validateValue(value, characteristic)) return "depends on the slot";
  if (isValid) return error == "untouched" ? "ok" : "ok, but " + textOrNull(error);
  return textOrNull(error);
}

inline const QVTransformer& registered(QVTransport transport, QVFormatType format) {
  return *QVTransformer::transformerForTransport(transport, format);
}

}  // namespace qv::test
