#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "capture/records/capture_words.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/value.h"

// Readings of the keys of one capture record. Each answers null for a key that is absent or null;
// one whose value is of the wrong kind sets the error, of which the first one counts.
namespace qv::capture {

class RecordFields {
 public:
  explicit RecordFields(Value record) : record_(std::move(record)) {}

  // Cut where it is longer than 1,024 bytes.
  std::optional<std::string> text(std::string_view key);
  std::optional<std::uint64_t> count(std::string_view key);
  // An integer, or its decimal digits as a string.
  std::optional<std::int64_t> time(std::string_view key);
  std::optional<bool> flag(std::string_view key);
  std::optional<Bytes> base64(std::string_view key);
  // The value of a list; null for none.
  std::optional<Value> list(std::string_view key);
  // A positive integer or a name.
  std::optional<std::string> connection();

  template <class T, std::size_t N>
  std::optional<T> word(std::string_view key, const Word<T> (&words)[N]) {
    const std::optional<Value> value = present(key);
    if (!value) return std::nullopt;
    const std::optional<std::string_view> text = value->asString();
    const std::optional<T> result = text ? valueFor(words, *text) : std::nullopt;
    if (!result) complain(fmt::format("{} has no known value", key));
    return result;
  }
  std::optional<Direction> direction();

  // For a key that must be there: the value, and the complaint that it is missing.
  template <class T>
  T required(std::string_view key, std::optional<T> value) {
    if (!value) complain(fmt::format("{} is missing", key));
    return value ? std::move(*value) : T();
  }

  void complain(std::string text) {
    if (!error_) error_ = std::move(text);
  }
  const std::optional<std::string>& error() const { return error_; }

 private:
  std::optional<Value> present(std::string_view key) const;
  template <class Integer>
  std::optional<Integer> integer(std::string_view key, std::string_view kind);

  Value record_;
  std::optional<std::string> error_;
};

}  // namespace qv::capture
