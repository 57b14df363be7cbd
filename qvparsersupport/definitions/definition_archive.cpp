#include "qvparsersupport/definitions/definition_archive.h"

#include <fmt/format.h>

#include <algorithm>

#include "qvparsersupport/common/load_assertion.h"

namespace qv {

namespace {

std::optional<std::string_view> textOf(const ValueNode& node) {
  if (node.type != Value::Type::string) return std::nullopt;
  return ValueBuilder::text(node);
}

int checkedLevel(int level) {
  constexpr int kMaximum = ArchivedDictionary::kMaximumLevel;
  if (level > kMaximum) {
    raiseLoadAssertion(fmt::format("The archive is nested deeper than {} levels", kMaximum));
  }
  return level;
}

}  // namespace

ValueNode ArchiveWriter::text(std::string_view text) {
  const auto node = [&](const char* address) {
    return ValueBuilder::nodeOf(Value::Type::string, address, text.size());
  };
  if (text.size() <= kShortText) return node(storage_->copyText(text).data());
  const char*& copy = copies_[{text.data(), text.size()}];
  if (copy == nullptr) copy = storage_->copyText(text).data();
  return node(copy);
}

ValueNode* ArchiveWriter::elements(std::size_t count) {
  if (count == 0) return nullptr;
  auto* const elements =
      static_cast<ValueNode*>(storage_->allocate(count * sizeof(ValueNode), alignof(ValueNode)));
  std::uninitialized_value_construct_n(elements, count);
  return elements;
}

ValueNode ArchivedFields::finish() {
  written_ = out_.storage().copyFewEntries({entries_.data(), count_});
  return ValueBuilder::nodeOf(Value::Type::dictionary, written_, count_);
}

ArchivedArray::ArchivedArray(const ValueNode* node, int level, ArchiveReading& reading)
    : node_(node),
      reading_(&reading),
      // Of an empty one nothing is followed, and it is written where none was read.
      level_(node->size > 0 ? checkedLevel(level) : level) {}

std::optional<std::string_view> ArchivedArray::text(std::size_t index) const {
  return textOf(ValueBuilder::elements(*node_)[index]);
}

ArchivedDictionary ArchivedArray::dictionary(std::size_t index) const {
  return {ValueBuilder::elements(*node_) + index, level_ + 1, *reading_};
}

// A level even if it is no dictionary, because what is made of it is written as one.
ArchivedDictionary::ArchivedDictionary(const ValueNode* node, int level, ArchiveReading& reading)
    : node_(node), reading_(&reading), level_(checkedLevel(level)) {}

const ValueNode* ArchivedDictionary::find(std::string_view key, Value::Type type) {
  if (node_->type != Value::Type::dictionary) return nullptr;
  const ValueEntryNode* const entries = ValueBuilder::entries(*node_);
  std::size_t at = next_;
  if (at >= node_->size || entries[at].key != key) at = findEntry(entries, node_->size, key);
  if (at == node_->size) return nullptr;
  next_ = at + 1;
  return entries[at].value.type == type ? &entries[at].value : nullptr;
}

std::optional<std::string_view> ArchivedDictionary::text(std::string_view key) {
  const ValueNode* const found = find(key, Value::Type::string);
  return found != nullptr ? textOf(*found) : std::nullopt;
}

std::optional<std::string> ArchivedDictionary::ownText(std::string_view key) {
  const auto found = text(key);
  return found ? std::optional<std::string>(*found) : std::nullopt;
}

std::optional<Number> ArchivedDictionary::number(std::string_view key) {
  const ValueNode* const found = find(key, Value::Type::number);
  return found != nullptr ? std::optional(ValueBuilder::numberOf(*found)) : std::nullopt;
}

std::int64_t ArchivedDictionary::integer(std::string_view key) {
  const auto found = number(key);
  return found ? found->int64Value() : 0;
}

ArchivedArray ArchivedDictionary::array(std::string_view key) {
  const ValueNode* const found = find(key, Value::Type::array);
  return found != nullptr ? ArchivedArray(found, level_ + 1, *reading_) : ArchivedArray();
}

std::optional<ArchivedDictionary> ArchivedDictionary::instance(std::string_view key) {
  const ValueNode* const found = find(key, Value::Type::dictionary);
  if (found == nullptr) return std::nullopt;
  ArchivedDictionary instance(found, level_ + 1, *reading_);
  instance.isInstance_ = true;
  if (isInstance_ && ++reading_->nestedInstances > kMaximumNestedInstances) {
    raiseLoadAssertion(fmt::format("The archive nests more than {} instances within instances",
                                   kMaximumNestedInstances));
  }
  return instance;
}

}  // namespace qv
