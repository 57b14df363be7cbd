#include "qvparsersupport/common/value.h"

#include <set>
#include <utility>

#include "qvparsersupport/common/value_storage.h"

namespace qv {

namespace {

Value leaf(Value::Type type, std::string_view payload) {
  ValueStorage::Owner owner = ValueStorage::make();
  const std::string_view copy = owner->copyText(payload);
  return ValueBuilder::adopt(ValueBuilder::nodeOf(type, copy.data(), copy.size()),
                             std::move(owner));
}

// Compares two nodes without looking into containers; containers of equal size go onto the list.
using Pairs = std::vector<std::pair<ValueNode, ValueNode>>;
bool equalOutside(const ValueNode& left, const ValueNode& right, Pairs& pending) {
  if (left.type != right.type) return false;
  switch (left.type) {
    case Value::Type::null:
      return true;
    case Value::Type::number:
      return ValueBuilder::numberOf(left) == ValueBuilder::numberOf(right);
    case Value::Type::string:
    case Value::Type::bytes:
      return ValueBuilder::text(left) == ValueBuilder::text(right);
    case Value::Type::object:
      return left.address == right.address;
    case Value::Type::array:
    case Value::Type::dictionary:
      if (left.size != right.size) return false;
      if (left.size > 0) pending.emplace_back(left, right);
      return true;
  }
  return false;
}

}  // namespace

ValueNode ValueBuilder::nodeOf(Number number) {
  ValueNode node;
  node.type = Value::Type::number;
  node.kind = number.kind_;
  node.bits = number.bits_;
  return node;
}

ValueNode ValueBuilder::nodeOf(Value::Type type, const void* address, std::size_t size) {
  ValueNode node;
  node.type = type;
  node.address = address;
  node.size = size & ((std::uint64_t{1} << 48) - 1);
  return node;
}

Number ValueBuilder::numberOf(const ValueNode& node) {
  return Number::ofUnsigned(node.kind, node.bits);
}

Value ValueBuilder::adopt(const ValueNode& node, ValueStorage::Owner storage) {
  return {node, isInline(node) ? nullptr : storage.release()};
}

Value ValueBuilder::share(const ValueNode& node, const Value& document) {
  if (isInline(node)) return {node, nullptr};
  document.storage_->retain();
  return {node, document.storage_};
}

const ValueNode* ValueBuilder::find(const ValueNode& dictionary, std::string_view key) {
  if (dictionary.type != Value::Type::dictionary) return nullptr;
  const std::size_t index = findEntry(entries(dictionary), dictionary.size, key);
  return index < dictionary.size ? &entries(dictionary)[index].value : nullptr;
}

Value::Value(Number number) : node_(ValueBuilder::nodeOf(number)) {}

Value Value::string(std::string_view text) {
  return leaf(Type::string, text);
}

Value Value::bytes(ByteView bytes) {
  return leaf(Type::bytes, textOf(bytes));
}

Value Value::array(std::span<const Value> elements) {
  ValueStorage::Owner owner = ValueStorage::make();
  std::vector<ValueNode> nodes;
  nodes.reserve(elements.size());
  for (const Value& element : elements) {
    owner->adopt(element.storage_);
    nodes.push_back(element.node_);
  }
  const ValueNode* copy = owner->copyNodes(nodes);
  return ValueBuilder::adopt(ValueBuilder::nodeOf(Type::array, copy, nodes.size()),
                             std::move(owner));
}

Value Value::dictionary(std::span<const Entry> entries) {
  ValueStorage::Owner owner = ValueStorage::make();
  std::vector<std::string_view> keys;
  std::vector<ValueNode> nodes;
  keys.reserve(entries.size());
  nodes.reserve(entries.size());
  for (const auto& [key, value] : entries) {
    owner->adopt(value.storage_);
    keys.push_back(owner->copyText(key));
    nodes.push_back(value.node_);
  }
  std::size_t size = 0;
  const ValueEntryNode* copy = owner->copyEntries(keys, nodes, size);
  return ValueBuilder::adopt(ValueBuilder::nodeOf(Type::dictionary, copy, size), std::move(owner));
}

Value Value::object(std::shared_ptr<ValueObject> object) {
  if (object == nullptr) return {};
  ValueStorage::Owner owner = ValueStorage::make();
  const ValueNode node = ValueBuilder::nodeOf(Type::object, object.get(), 0);
  owner->hold(std::move(object));
  return ValueBuilder::adopt(node, std::move(owner));
}

Value::Value(const Value& other) : node_(other.node_), storage_(other.storage_) {
  if (storage_ != nullptr) storage_->retain();
}

Value& Value::operator=(const Value& other) {
  if (this != &other) *this = Value(other);
  return *this;
}

void Value::letGo() noexcept {
  storage_->release();
}

std::optional<Number> Value::asNumber() const {
  if (node_.type != Type::number) return std::nullopt;
  return ValueBuilder::numberOf(node_);
}

std::optional<std::string_view> Value::asString() const {
  if (node_.type != Type::string) return std::nullopt;
  return ValueBuilder::text(node_);
}

std::optional<ByteView> Value::asBytes() const {
  if (node_.type != Type::bytes) return std::nullopt;
  return bytesOf(ValueBuilder::text(node_));
}

std::shared_ptr<ValueObject> Value::asObject() const {
  if (node_.type != Type::object) return nullptr;
  // A value inside a container shares the container's storage, so the owner is found through the
  // object itself.
  const auto* address = static_cast<const ValueObject*>(node_.address);
  if (storage_->object().get() == address) return storage_->object();
  return {std::shared_ptr<const Value>(new Value(*this)), const_cast<ValueObject*>(address)};
}

std::size_t Value::count() const {
  return node_.type == Type::array || node_.type == Type::dictionary ? node_.size : 0;
}

Value Value::at(std::size_t index) const {
  if (index >= count()) return {};
  return ValueBuilder::share(node_.type == Type::array ? ValueBuilder::elements(node_)[index]
                                                       : ValueBuilder::entries(node_)[index].value,
                             *this);
}

std::string_view Value::keyAt(std::size_t index) const {
  if (node_.type != Type::dictionary || index >= node_.size) return {};
  return ValueBuilder::entries(node_)[index].key;
}

std::optional<Value> Value::find(std::string_view key) const {
  const ValueNode* found = ValueBuilder::find(node_, key);
  if (found == nullptr) return std::nullopt;
  return ValueBuilder::share(*found, *this);
}

bool operator==(const Value& left, const Value& right) {
  constexpr std::size_t kWalkedFreely = 1000;
  std::size_t walked = 0;
  std::set<std::pair<const void*, const void*>> seen;
  Pairs pending;
  if (!equalOutside(left.node_, right.node_, pending)) return false;
  while (!pending.empty()) {
    const auto [one, other] = pending.back();
    pending.pop_back();
    // A host can build values that share their parts over and over; past a small size no pair of
    // containers is walked twice.
    if (++walked > kWalkedFreely && !seen.emplace(one.address, other.address).second) continue;
    for (std::size_t i = 0; i < one.size; ++i) {
      if (one.type == Value::Type::array) {
        if (!equalOutside(ValueBuilder::elements(one)[i], ValueBuilder::elements(other)[i],
                          pending))
          return false;
        continue;
      }
      const ValueEntryNode& entry = ValueBuilder::entries(one)[i];
      const std::size_t twin = findEntry(ValueBuilder::entries(other), other.size, entry.key);
      if (twin == other.size) return false;
      if (!equalOutside(entry.value, ValueBuilder::entries(other)[twin].value, pending))
        return false;
    }
  }
  return true;
}

}  // namespace qv
