#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/number.h"

namespace qv {

class ValueStorage;

// Base of the library's own objects that may stand where a Value is taken, such as a TLV8 packet.
class QV_EXPORT ValueObject {
 public:
  virtual ~ValueObject() = default;

 protected:
  ValueObject() = default;
  ValueObject(const ValueObject&) = default;
  ValueObject& operator=(const ValueObject&) = default;
};

// The dynamic value that transformers, archives and the JSON object model pass around: null, a
// number, a string (UTF-8), a byte buffer, an array, a dictionary, or a library object. "No value
// at all" is not a Value; operations that may receive none take std::optional<Value>.
//
// Immutable and cheap to copy: the payload is shared. A parsed document is one block of storage,
// and every value reached from it keeps that whole block alive. Destruction, comparison and copying
// never recurse, so trees of any depth are safe. Views and string_views handed out stay valid as
// long as any Value of the same document lives.
class QV_EXPORT Value {
 public:
  enum class Type : std::uint8_t { null, number, string, bytes, array, dictionary, object };
  using Entry = std::pair<std::string, Value>;

  // How a value is kept; for the builders of values, not for hosts.
  struct Node {
    Type type = Type::null;
    NumericKind kind = NumericKind::signedLongLong;
    std::uint64_t size : 48 = 0;  // bytes, elements or entries; more than memory can hold
    union {
      std::uint64_t bits = 0;  // of a number
      const void* address;     // the first byte, element or entry, or the object
    };

    // The very same payload.
    friend bool operator==(const Node& left, const Node& right) {
      if (left.type != right.type || left.size != right.size) return false;
      if (left.type != Type::number) return left.address == right.address;
      return left.kind == right.kind && left.bits == right.bits;
    }
  };

  Value() = default;     // the null Value
  Value(Number number);  // NOLINT(google-explicit-constructor)
  static Value string(std::string_view text);
  static Value bytes(ByteView bytes);
  static Value array(std::span<const Value> elements);
  static Value array(std::initializer_list<Value> elements) {
    return array(std::span<const Value>(elements.begin(), elements.size()));
  }
  // Entries keep their order; of a repeated key the last value wins, at the place of the first.
  static Value dictionary(std::span<const Entry> entries);
  static Value dictionary(std::initializer_list<Entry> entries) {
    return dictionary(std::span<const Entry>(entries.begin(), entries.size()));
  }
  // A null pointer gives the null Value.
  static Value object(std::shared_ptr<ValueObject> object);

  Value(const Value& other);
  Value(Value&& other) noexcept
      : node_(std::exchange(other.node_, Node())),
        storage_(std::exchange(other.storage_, nullptr)) {}
  Value& operator=(const Value& other);
  Value& operator=(Value&& other) noexcept {
    std::swap(node_, other.node_);
    std::swap(storage_, other.storage_);
    return *this;
  }
  ~Value() {
    if (storage_ != nullptr) letGo();
  }

  Type type() const { return node_.type; }
  bool isNull() const { return node_.type == Type::null; }
  bool isNumber() const { return node_.type == Type::number; }
  bool isString() const { return node_.type == Type::string; }
  bool isBytes() const { return node_.type == Type::bytes; }
  bool isArray() const { return node_.type == Type::array; }
  bool isDictionary() const { return node_.type == Type::dictionary; }

  // Each answers null when the value is of another type.
  std::optional<Number> asNumber() const;
  std::optional<std::string_view> asString() const;
  std::optional<ByteView> asBytes() const;
  std::shared_ptr<ValueObject> asObject() const;

  // Elements of an array or entries of a dictionary, 0 for every other type.
  std::size_t count() const;
  // The element of an array or the value of a dictionary entry, by position; the null Value when
  // there is none.
  Value at(std::size_t index) const;
  // The key of a dictionary entry by position; empty when there is none.
  std::string_view keyAt(std::size_t index) const;
  // The value under a key; null when this is no dictionary or lacks the key. Logarithmic when the
  // dictionary is large.
  std::optional<Value> find(std::string_view key) const;

  // Numbers compare by numeric value across kinds, strings and byte buffers by their bytes, arrays
  // element by element, dictionaries as sets of entries, library objects by identity. Values of
  // different types are never equal.
  friend QV_EXPORT bool operator==(const Value& left, const Value& right);

 private:
  friend class ValueBuilder;
  Value(const Node& node, ValueStorage* storage) : node_(node), storage_(storage) {}
  void letGo() noexcept;

  Node node_;
  ValueStorage* storage_ = nullptr;  // null for null and numbers
};

}  // namespace qv
