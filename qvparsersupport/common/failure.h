#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace qv {

// The optional error out-parameter of every fallible operation. A null pointer means that the
// caller asked for no text; otherwise the slot is left untouched on success unless the operation
// says that it clears it, so "untouched", "cleared" and "set" stay three different things.
using ErrorSlot = std::optional<std::string>*;

// What `fail` yields: false, an empty optional or a null smart pointer, whichever the caller
// returns.
struct Failure {
  template <class T>
  requires std::same_as<T, bool>
  constexpr operator T() const {  // NOLINT(google-explicit-constructor)
    return false;
  }
  template <class T>
  constexpr operator std::optional<T>() const {  // NOLINT(google-explicit-constructor)
    return std::nullopt;
  }
  template <class T>
  constexpr operator std::unique_ptr<T>() const {  // NOLINT(google-explicit-constructor)
    return nullptr;
  }
  template <class T>
  constexpr operator std::shared_ptr<T>() const {  // NOLINT(google-explicit-constructor)
    return nullptr;
  }
};

// Stores `text` if the caller asked for one, and yields the failure value, so that a failing branch
// is one line that carries its final text.
inline Failure fail(ErrorSlot errorDescription, std::string text) {
  if (errorDescription != nullptr) *errorDescription = std::move(text);
  return {};
}

// The text that a null value prints in a message.
inline constexpr const char* kNullText = "(null)";

inline std::string textOrNull(const std::optional<std::string>& text) {
  return text ? *text : std::string(kNullText);
}

}  // namespace qv
