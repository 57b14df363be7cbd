#include "qvparsersupport/common/value_json.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/common/value_storage.h"

namespace qv {

namespace {

using Type = Value::Type;

constexpr std::string_view kKindKey = "$kind";
constexpr std::string_view kValueKey = "value";
constexpr std::string_view kBytes = "bytes";
constexpr std::string_view kString = "string";
constexpr std::string_view kDictionary = "dictionary";

struct IntegerKind {
  NumericKind kind;
  std::string_view name;
  std::int64_t lowest;
  std::uint64_t highest;
};

template <class Integer>
constexpr IntegerKind integerKind(NumericKind kind, std::string_view name) {
  using Limits = std::numeric_limits<Integer>;
  return {kind, name, static_cast<std::int64_t>(Limits::min()),
          static_cast<std::uint64_t>(Limits::max())};
}

constexpr IntegerKind kIntegerKinds[] = {
    integerKind<std::int8_t>(NumericKind::signedChar, "int8"),
    integerKind<std::int16_t>(NumericKind::signedShort, "int16"),
    integerKind<std::int32_t>(NumericKind::signedInt, "int32"),
    integerKind<long>(NumericKind::signedLong, "long"),
    integerKind<std::uint8_t>(NumericKind::unsignedChar, "uint8"),
    integerKind<std::uint16_t>(NumericKind::unsignedShort, "uint16"),
    integerKind<std::uint32_t>(NumericKind::unsignedInt, "uint32"),
    integerKind<std::uint64_t>(NumericKind::unsignedLongLong, "uint64"),
    integerKind<unsigned long>(NumericKind::unsignedLong, "ulong"),
};

constexpr std::pair<NumericKind, std::string_view> kFloatKinds[] = {
    {NumericKind::singleFloat, "float"}, {NumericKind::doubleFloat, "double"}};

constexpr std::pair<double, std::string_view> kNoNumerals[] = {
    {std::numeric_limits<double>::quiet_NaN(), "NaN"},
    {std::numeric_limits<double>::infinity(), "Infinity"},
    {-std::numeric_limits<double>::infinity(), "-Infinity"}};

bool isUTF8(std::string_view text) {
  return isValidUTF8(bytesOf(text));
}

ValueNode textNode(std::string_view text) {
  return ValueBuilder::nodeOf(Type::string, text.data(), text.size());
}

// Copies a tree into a storage of its own, container by container from the top. A node waits in its
// final place, as it stands in the source, until `convert` puts there what it becomes; what is not
// changed stays in the source's storage.
class TreeMapper {
 public:
  TreeMapper(const TreeMapper&) = delete;
  TreeMapper& operator=(const TreeMapper&) = delete;

  std::optional<Value> map(const Value& root, ErrorSlot errorDescription) {
    storage_->adopt(ValueBuilder::storage(root));
    ValueNode result = ValueBuilder::node(root);
    waiting_.push_back(&result);
    while (!waiting_.empty()) {
      ValueNode& node = *waiting_.back();
      waiting_.pop_back();
      if (!convertOnce(node)) return fail(errorDescription, std::move(fault_));
    }
    return ValueBuilder::adopt(result, std::move(storage_));
  }

 protected:
  TreeMapper() : storage_(ValueStorage::make()) {}
  virtual ~TreeMapper() = default;

  virtual bool convert(ValueNode& node) = 0;

  bool refuse(std::string fault) {
    fault_ = std::move(fault);
    return false;
  }
  bool convertElements(ValueNode& array) {
    ValueNode* const copy =
        storage_->copyNodes(std::span(ValueBuilder::elements(array), array.size));
    for (std::size_t i = 0; i < array.size; ++i) waiting_.push_back(copy + i);
    array.address = copy;
    return true;
  }
  bool convertEntries(ValueNode& dictionary, std::span<const ValueEntryNode> entries) {
    std::size_t size = 0;
    ValueEntryNode* const copy = storage_->copyEntries(entries, size);
    for (std::size_t i = 0; i < size; ++i) waiting_.push_back(&copy[i].value);
    dictionary = ValueBuilder::nodeOf(Type::dictionary, copy, size);
    return true;
  }
  ValueStorage& storage() { return *storage_; }

 private:
  // A host can build values that share their parts over and over, and archives share long texts.
  // What was converted once, long texts always and containers past a small number, stands for all
  // its places.
  bool convertOnce(ValueNode& node) {
    const bool isContainer = node.type == Type::array || node.type == Type::dictionary;
    const bool isText = node.type == Type::string || node.type == Type::bytes;
    const bool isRemembered = (isContainer && node.size > 0 && ++containers_ > kConvertedFreely) ||
                              (isText && node.size > kShortText);
    if (!isRemembered) return convert(node);
    const std::pair<const void*, std::uint64_t> source(node.address, std::uint64_t{node.size});
    const auto known = converted_.find(source);
    if (known != converted_.end()) {
      node = known->second;
      return true;
    }
    if (!convert(node)) return false;
    converted_.emplace(source, node);
    return true;
  }

  static constexpr std::size_t kConvertedFreely = 1000;
  static constexpr std::size_t kShortText = 64;

  ValueStorage::Owner storage_;
  std::vector<ValueNode*> waiting_;
  std::size_t containers_ = 0;
  std::map<std::pair<const void*, std::uint64_t>, ValueNode> converted_;
  std::string fault_;
};

std::span<const ValueEntryNode> entriesOf(const ValueNode& dictionary) {
  return {ValueBuilder::entries(dictionary), dictionary.size};
}

class ToJSON : public TreeMapper {
 private:
  bool convert(ValueNode& node) override {
    switch (node.type) {
      case Type::null:
        return true;
      case Type::number:
        return convertNumber(node, ValueBuilder::numberOf(node));
      case Type::string:
        return isUTF8(ValueBuilder::text(node)) || wrapBase64(node, kString);
      case Type::bytes:
        return wrapBase64(node, kBytes);
      case Type::array:
        return convertElements(node);
      case Type::dictionary:
        return convertDictionary(node);
      case Type::object:
        return refuse("A library object has no JSON form");
    }
    return true;
  }

  bool convertNumber(ValueNode& node, const Number& number) {
    if (number.isFloatKind()) return convertFloat(node, number);
    for (const IntegerKind& row : kIntegerKinds) {
      if (row.kind != number.kind()) continue;
      const bool isBoolean = row.kind == NumericKind::signedChar && number.uint64Value() <= 1;
      const bool needs64Bits = row.kind == NumericKind::unsignedLongLong &&
                               number.uint64Value() > std::numeric_limits<std::int64_t>::max();
      if (isBoolean || needs64Bits) return true;
      return wrap(node, row.name,
                  ValueBuilder::nodeOf(row.lowest < 0 ? Number::int64(number.int64Value())
                                                      : Number::uint64(number.uint64Value())));
    }
    return true;  // the signed 64-bit kind
  }

  bool convertFloat(ValueNode& node, const Number& number) {
    const double value = number.doubleValue();
    const std::string_view kind =
        kFloatKinds[number.kind() == NumericKind::doubleFloat ? 1 : 0].second;
    if (std::isnan(value)) return wrap(node, kind, textNode(kNoNumerals[0].second));
    if (std::isinf(value)) return wrap(node, kind, textNode(kNoNumerals[value > 0 ? 1 : 2].second));
    if (number.kind() == NumericKind::doubleFloat) return true;
    return wrap(node, kind, ValueBuilder::nodeOf(Number::float64(value)));
  }

  bool convertDictionary(ValueNode& node) {
    const auto entries = entriesOf(node);
    bool isPlain = true;
    for (const ValueEntryNode& entry : entries) {
      if (entry.key == kKindKey || !isUTF8(entry.key)) isPlain = false;
    }
    if (isPlain) return convertEntries(node, entries);
    std::vector<ValueNode> pairs;
    pairs.reserve(entries.size());
    for (const ValueEntryNode& entry : entries) {
      const ValueNode pair[] = {textNode(entry.key), entry.value};
      pairs.push_back(ValueBuilder::nodeOf(Type::array, storage().copyNodes(pair), 2));
    }
    ValueNode list = ValueBuilder::nodeOf(Type::array, pairs.data(), pairs.size());
    convertElements(list);
    return wrap(node, kDictionary, list);
  }

  bool wrapBase64(ValueNode& node, std::string_view kind) {
    std::string text;
    appendBase64(text, bytesOf(ValueBuilder::text(node)));
    return wrap(node, kind, textNode(storage().copyText(text)));
  }

  bool wrap(ValueNode& node, std::string_view kind, const ValueNode& value) {
    const ValueEntryNode entries[] = {{kKindKey, textNode(kind)}, {kValueKey, value}};
    node = ValueBuilder::nodeOf(Type::dictionary, storage().copyFewEntries(entries), 2);
    return true;
  }
};

class FromJSON : public TreeMapper {
 private:
  // A dictionary with the key "$kind".
  struct Wrapper {
    std::string_view kind;
    ValueNode value;
  };

  bool convert(ValueNode& node) override {
    if (node.type == Type::array) return convertElements(node);
    if (node.type != Type::dictionary) return true;
    const auto entries = entriesOf(node);
    if (findEntry(entries.data(), entries.size(), kKindKey) == entries.size()) {
      return convertEntries(node, entries);
    }
    const auto wrapper = wrapperIn(node);
    if (!wrapper) {
      return refuse(
          "A dictionary with the key $kind needs a text there, the key value and no other");
    }
    return unwrap(node, *wrapper);
  }

  static std::optional<Wrapper> wrapperIn(const ValueNode& node) {
    const auto entries = entriesOf(node);
    if (node.type != Type::dictionary || entries.size() != 2) return std::nullopt;
    const std::size_t kind = findEntry(entries.data(), 2, kKindKey);
    const std::size_t value = findEntry(entries.data(), 2, kValueKey);
    if (kind == 2 || value == 2 || entries[kind].value.type != Type::string) return std::nullopt;
    return Wrapper{ValueBuilder::text(entries[kind].value), entries[value].value};
  }

  bool unwrap(ValueNode& node, const Wrapper& wrapper) {
    for (const IntegerKind& row : kIntegerKinds) {
      if (row.name == wrapper.kind) return readInteger(node, row, wrapper);
    }
    for (const auto& [kind, name] : kFloatKinds) {
      if (name == wrapper.kind) return readFloat(node, kind, wrapper);
    }
    if (wrapper.kind == kBytes) return readBase64(node, Type::bytes, wrapper);
    if (wrapper.kind == kString) return readBase64(node, Type::string, wrapper);
    if (wrapper.kind == kDictionary) return readPairs(node, wrapper);
    return refuse(fmt::format("Unknown $kind '{}'", wrapper.kind));
  }

  bool refuseValue(const Wrapper& wrapper) {
    return refuse(fmt::format("The value of $kind '{}' does not fit it", wrapper.kind));
  }

  bool readInteger(ValueNode& node, const IntegerKind& row, const Wrapper& wrapper) {
    if (wrapper.value.type != Type::number) return refuseValue(wrapper);
    const Number number = ValueBuilder::numberOf(wrapper.value);
    const bool isNegative = number.doubleValue() < 0;
    const bool isInRange =
        isNegative ? number.int64Value() >= row.lowest : number.uint64Value() <= row.highest;
    if (number.isFloatKind() || !isInRange) return refuseValue(wrapper);
    node = wrapper.value;
    node.kind = row.kind;
    return true;
  }

  bool readFloat(ValueNode& node, NumericKind kind, const Wrapper& wrapper) {
    std::optional<double> value;
    if (wrapper.value.type == Type::number) {
      value = ValueBuilder::numberOf(wrapper.value).doubleValue();
    } else if (wrapper.value.type == Type::string) {
      for (const auto& [special, name] : kNoNumerals) {
        if (ValueBuilder::text(wrapper.value) == name) value = special;
      }
    }
    if (!value) return refuseValue(wrapper);
    Number number = Number::float64(*value);
    if (kind == NumericKind::singleFloat) number = Number::float32(number.floatValue());
    if (std::isfinite(*value) && !std::isfinite(number.doubleValue())) return refuseValue(wrapper);
    node = ValueBuilder::nodeOf(number);
    return true;
  }

  bool readBase64(ValueNode& node, Type type, const Wrapper& wrapper) {
    if (wrapper.value.type != Type::string) return refuseValue(wrapper);
    const auto bytes = base64Decoded(ValueBuilder::text(wrapper.value));
    if (!bytes) return refuseValue(wrapper);
    const std::string_view copy = storage().copyText(textOf(*bytes));
    node = ValueBuilder::nodeOf(type, copy.data(), copy.size());
    return true;
  }

  bool readPairs(ValueNode& node, const Wrapper& wrapper) {
    if (wrapper.value.type != Type::array) return refuseValue(wrapper);
    std::vector<ValueEntryNode> entries;
    entries.reserve(wrapper.value.size);
    for (std::size_t i = 0; i < wrapper.value.size; ++i) {
      const ValueNode& pair = ValueBuilder::elements(wrapper.value)[i];
      if (pair.type != Type::array || pair.size != 2) return refuseValue(wrapper);
      ValueNode key = ValueBuilder::elements(pair)[0];
      const auto inner = wrapperIn(key);
      if (inner && inner->kind == kString && !readBase64(key, Type::string, *inner)) return false;
      if (key.type != Type::string) return refuseValue(wrapper);
      entries.push_back({ValueBuilder::text(key), ValueBuilder::elements(pair)[1]});
    }
    return convertEntries(node, entries);
  }
};

}  // namespace

std::optional<Value> jsonFormOf(const Value& value, ErrorSlot errorDescription) {
  return ToJSON().map(value, errorDescription);
}

std::optional<Value> valueOfJSONForm(const Value& form, ErrorSlot errorDescription) {
  return FromJSON().map(form, errorDescription);
}

}  // namespace qv
