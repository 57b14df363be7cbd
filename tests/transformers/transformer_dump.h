#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <charconv>
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

// The value that the words of `dump` name, packets excepted. Words that would not come out as they
// went in fail the test.
inline std::optional<Value> valueOf(std::string_view words) {
  const auto inside = [&] { return words.substr(1, words.size() - 2); };
  std::optional<Value> value;
  if (words == "null") value = Value();
  if (words == "array") value = Value::array({});
  if (words == "dict") value = Value::dictionary({});
  if (words.starts_with('\'')) value = Value::string(inside());
  if (words.starts_with('<')) value = Value::bytes(bytesFromHex(inside()));
  if (words.find(':') == 1) {
    const char* const end = words.data() + words.size();
    std::int64_t i = 0;
    std::uint64_t u = 0;
    double d = 0;
    std::from_chars(words.data() + 2, end, i);
    std::from_chars(words.data() + 2, end, u);
    std::from_chars(words.data() + 2, end, d);
    for (const Number& number :
         {Number::int8(static_cast<std::int8_t>(i)), Number::int16(static_cast<std::int16_t>(i)),
          Number::int32(static_cast<std::int32_t>(i)), Number::int64(i), Number::signedLong(i),
          Number::uint8(static_cast<std::uint8_t>(u)),
          Number::uint16(static_cast<std::uint16_t>(u)),
          Number::uint32(static_cast<std::uint32_t>(u)), Number::uint64(u), Number::unsignedLong(u),
          Number::float32(static_cast<float>(d)), Number::float64(d)}) {
      if (static_cast<char>(number.kind()) == words[0]) value = number;
    }
  }
  EXPECT_EQ(dump(value), words);
  return value;
}

// The result and, behind " | ", the text, which must come without being asked for as well.
template <class Operation>
std::string outcome(const Operation& operation) {
  std::optional<std::string> error;
  const std::string result = dump(operation(&error));
  if (dump(operation(nullptr)) != result) return "depends on the slot";
  return error ? result + " | " + *error : result;
}

inline std::string encoded(const QVTransformer& transformer, const std::optional<Value>& value) {
  return outcome([&](ErrorSlot slot) { return transformer.transformValue(value, slot); });
}

inline std::string decoded(const QVTransformer& transformer, const std::optional<Value>& value) {
  return outcome([&](ErrorSlot slot) { return transformer.reverseTransformValue(value, slot); });
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

// Rows of the form "value -> result; value -> result" with what comes out now as their results.
template <class Operation>
std::string redone(std::string_view rows, const Operation& operation) {
  std::string result;
  while (!rows.empty()) {
    const std::string_view row = rows.substr(0, rows.find("; "));
    rows.remove_prefix(std::min(rows.size(), row.size() + 2));
    const std::string_view words = row.substr(0, row.find(" -> "));
    result +=
        fmt::format("{}{} -> {}", result.empty() ? "" : "; ", words, operation(valueOf(words)));
  }
  return result;
}

}  // namespace qv::test
