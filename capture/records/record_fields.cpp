#include "capture/records/record_fields.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "qvparsersupport/common/base64.h"

namespace qv::capture {
namespace {

constexpr std::size_t kLongestName = 256;
constexpr std::size_t kLongestText = 1024;

template <class Integer>
std::optional<Integer> integerOf(const Value& value) {
  const std::optional<Number> number = value.asNumber();
  // Whatever is an integer without loss; true and false are none.
  const std::string text = number && number->kind() != NumericKind::signedChar
                               ? number->text()
                               : std::string(value.asString().value_or(""));
  Integer result = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, result);
  if (text.empty() || read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return result;
}

// A byte of UTF-8 that begins no character.
bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

std::optional<Value> RecordFields::present(std::string_view key) const {
  std::optional<Value> value = record_.find(key);
  if (value && value->isNull()) value.reset();
  return value;
}

std::optional<std::string> RecordFields::text(std::string_view key) {
  const std::optional<Value> value = present(key);
  if (!value) return std::nullopt;
  const std::optional<std::string_view> text = value->asString();
  if (!text) complain(fmt::format("{} is no string", key));
  if (!text) return std::nullopt;
  std::size_t length = std::min(kLongestText, text->size());
  if (length < text->size()) {
    while (length > 0 && isContinuation((*text)[length])) --length;
  }
  return std::string(text->substr(0, length));
}

template <class Integer>
std::optional<Integer> RecordFields::integer(std::string_view key, std::string_view kind) {
  const std::optional<Value> value = present(key);
  if (!value) return std::nullopt;
  const auto number = integerOf<Integer>(*value);
  if (!number) complain(fmt::format("{} is no {}", key, kind));
  return number;
}

std::optional<std::uint64_t> RecordFields::count(std::string_view key) {
  return integer<std::uint64_t>(key, "count");
}

std::optional<std::int64_t> RecordFields::time(std::string_view key) {
  return integer<std::int64_t>(key, "whole number of nanoseconds");
}

std::optional<bool> RecordFields::flag(std::string_view key) {
  const std::optional<Value> value = present(key);
  if (!value) return std::nullopt;
  const std::optional<Number> number = value->asNumber();
  const bool isFlag = number && number->kind() == NumericKind::signedChar;
  if (!isFlag) complain(fmt::format("{} is neither true nor false", key));
  return isFlag ? std::optional(number->boolValue()) : std::nullopt;
}

std::optional<Bytes> RecordFields::base64(std::string_view key) {
  const std::optional<Value> value = present(key);
  if (!value) return std::nullopt;
  const std::optional<std::string_view> text = value->asString();
  std::optional<Bytes> bytes = text ? base64Decoded(*text) : std::nullopt;
  if (!bytes) complain(fmt::format("{} is no base-64", key));
  return bytes;
}

std::optional<Value> RecordFields::list(std::string_view key) {
  std::optional<Value> value = present(key);
  if (value && !value->isArray()) {
    complain(fmt::format("{} is no list", key));
    value.reset();
  }
  return value;
}

std::optional<std::string> RecordFields::connection() {
  const std::optional<Value> value = present("connection");
  if (!value) return std::nullopt;
  const auto number = value->isNumber() ? integerOf<std::uint64_t>(*value) : std::nullopt;
  if (number && *number > 0) return fmt::format("{}", *number);
  const std::optional<std::string_view> name = value->asString();
  if (name && !name->empty() && name->size() <= kLongestName) return std::string(*name);
  complain("connection is neither a number from 1 nor a name of at most 256 bytes");
  return std::nullopt;
}

std::optional<Direction> RecordFields::direction() {
  const std::optional<Value> value = present("direction");
  const std::string_view text = value ? value->asString().value_or("") : "";
  const std::optional<Direction> direction = valueFor(kDirectionWords, text);
  if (!direction) complain("direction is neither to_accessory nor to_controller");
  return direction;
}

}  // namespace qv::capture
