#pragma once

// How values are kept, for value.cpp and the builders of whole documents (the JSON reader): a
// storage is one reference-counted arena, and the nodes in it point only into itself or into
// storages that it retains. Internal; not part of the library's interface.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/value.h"

namespace qv {

using ValueNode = Value::Node;

struct ValueEntryNode {
  std::string_view key;
  ValueNode value;
};

class ValueStorage {
 public:
  struct Release {
    void operator()(ValueStorage* storage) const { storage->release(); }
  };
  using Owner = std::unique_ptr<ValueStorage, Release>;

  static Owner make() { return Owner(new ValueStorage()); }
  ValueStorage(const ValueStorage&) = delete;
  ValueStorage& operator=(const ValueStorage&) = delete;

  void retain() { references_.fetch_add(1, std::memory_order_relaxed); }
  // Destroys this storage and, in a loop, every storage that only it kept alive.
  void release() noexcept;

  // Memory that lives as long as the storage.
  void* allocate(std::size_t size, std::size_t alignment);
  std::string_view copyText(std::string_view text);
  ValueNode* copyNodes(std::span<const ValueNode> nodes);
  // Entries in order with unique keys; a repeated key keeps its first place and its last value.
  // Above `kLinearLookup` entries a sorted index follows the entries. There are as many values as
  // keys; sets `size` to the entries kept, fewer when a key was repeated.
  ValueEntryNode* copyEntries(std::span<const std::string_view> keys,
                              std::span<const ValueNode> values, std::size_t& size);
  ValueEntryNode* copyEntries(std::span<const ValueEntryNode> entries, std::size_t& size);
  // Entries whose keys differ, at most `kLinearLookup` of them.
  ValueEntryNode* copyFewEntries(std::span<const ValueEntryNode> entries);

  // Keeps another storage or a library object alive with this one.
  void adopt(ValueStorage* child);
  void hold(std::shared_ptr<ValueObject> object) { object_ = std::move(object); }
  const std::shared_ptr<ValueObject>& object() const { return object_; }

  // A characteristic of an attribute database has a dozen keys: a walk over so few is cheaper than
  // a search, and no index has to be built.
  static constexpr std::size_t kLinearLookup = 16;

 private:
  ValueStorage() = default;
  ~ValueStorage();
  ValueEntryNode* copyManyEntries(std::span<const std::string_view> keys,
                                  std::span<const ValueNode> values, std::size_t& size);

  struct Block {
    Block* next;
  };

  std::atomic<std::size_t> references_{1};
  ValueStorage* nextDying_ = nullptr;
  Block* blocks_ = nullptr;
  std::byte* free_ = nullptr;
  std::size_t freeBytes_ = 0;
  std::size_t blockBytes_ = 0;  // of all blocks
  std::vector<ValueStorage*> children_;
  std::shared_ptr<ValueObject> object_;
};

static_assert(sizeof(ValueNode) == 16 && sizeof(ValueEntryNode) == 32, "trees stay small");

// Position of the entry with the key, or `size` when there is none.
std::size_t findEntry(const ValueEntryNode* entries, std::size_t size, std::string_view key);

// What the makers and the readers of whole documents need to know of a Value.
class ValueBuilder {
 public:
  // Makes a Value out of a node in the storage.
  static Value adopt(const ValueNode& node, ValueStorage::Owner storage);
  // Makes a Value out of a node of the same document.
  static Value share(const ValueNode& node, const Value& document);
  static const ValueNode& node(const Value& value) { return value.node_; }
  static ValueStorage* storage(const Value& value) { return value.storage_; }
  static ValueNode nodeOf(Number number);
  static ValueNode nodeOf(Value::Type type, const void* address, std::size_t size);
  static Number numberOf(const ValueNode& node);

  // What a node of the fitting type holds, without touching reference counts: good for as long as
  // some Value of the same document lives. `find` takes any node and answers null when there is no
  // such key.
  static const ValueNode* find(const ValueNode& dictionary, std::string_view key);
  static std::string_view text(const ValueNode& node) {
    return {static_cast<const char*>(node.address), node.size};
  }
  static const ValueNode* elements(const ValueNode& node) {
    return static_cast<const ValueNode*>(node.address);
  }
  static const ValueEntryNode* entries(const ValueNode& node) {
    return static_cast<const ValueEntryNode*>(node.address);
  }

 private:
  static bool isInline(const ValueNode& node) {
    return node.type == Value::Type::null || node.type == Value::Type::number;
  }
};

}  // namespace qv
