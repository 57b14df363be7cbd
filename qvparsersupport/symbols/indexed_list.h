#pragma once

// Internal to the symbol table: a list of definitions with the index that makes lookups in it fast.

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "qvparsersupport/definitions/definition_list.h"
#include "qvparsersupport/definitions/lookup_generation.h"
#include "qvparsersupport/symbols/key_table.h"

namespace qv {

// `find` always answers what `scan` does, the first match in list order. The index is used only
// while it is certain to be right: built over definitions that nobody has written to since, whose
// keys cannot change by somebody else's release of a handle. Lookups change nothing, so any number
// of threads may look up at once.
template <class Rule>
class IndexedList {
 public:
  using Definition = typename Rule::Definition;
  using Query = typename Rule::Query;
  using Handle = std::shared_ptr<Definition>;

  const DefinitionList<Definition>& list() const { return list_; }

  using Tables = std::array<KeyTable, Rule::kTables>;

  // Keeps a copy: whoever made the list may be able to change it still.
  void set(const DefinitionList<Definition>& list) {
    usable_ = false;
    auto copy = list == nullptr ? nullptr : std::make_shared<std::vector<Handle>>(*list);
    own_ = copy.get();
    list_ = std::move(copy);
    rebuild();
  }

  void set(std::vector<Handle> list) {
    usable_ = false;
    auto made = std::make_shared<std::vector<Handle>>(std::move(list));
    own_ = made.get();
    list_ = std::move(made);
    rebuild();
  }

  // A list whose keys the caller has collected already, every key of every definition.
  void set(std::vector<Handle> list, Tables tables) {
    usable_ = false;
    auto made = std::make_shared<std::vector<Handle>>(std::move(list));
    own_ = made.get();
    list_ = std::move(made);
    tables_ = std::move(tables);
    generation_ = lookupGeneration();
    usable_ = prepareAll();
  }

  // Makes an empty list of a null one.
  void append(std::span<const Handle> more) {
    const bool wasUsable = std::exchange(usable_, false);
    std::vector<Handle>& all = writableList(more.size());
    const std::size_t before = all.size();
    all.insert(all.end(), more.begin(), more.end());
    if (!wasUsable || generation_ != lookupGeneration()) return rebuild();
    usable_ = addToIndex(before);
  }
  void append(const Handle& one) { append({&one, 1}); }

  Handle find(const Query& query) const {
    const auto table = Rule::tableFor(query);
    if (!table || !usable_ || generation_ != lookupGeneration()) return scan(query);
    const auto position = tables_[*table].find(Rule::textOf(query));
    return position ? (*list_)[*position] : nullptr;
  }

  Handle scan(const Query& query) const {
    if (list_ == nullptr) return nullptr;
    for (const Handle& each : *list_) {
      if (each != nullptr && Rule::matches(*each, query)) return each;
    }
    return nullptr;
  }

 private:
  // The list itself when nobody else holds it, otherwise a copy that takes its place.
  std::vector<Handle>& writableList(std::size_t more) {
    if (list_.use_count() != 1) {
      auto copy = std::make_shared<std::vector<Handle>>();
      if (list_ != nullptr) {
        copy->reserve(list_->size() + more);
        copy->assign(list_->begin(), list_->end());
      }
      own_ = copy.get();
      list_ = std::move(copy);
    }
    return *own_;
  }

  void rebuild() {
    usable_ = false;
    for (KeyTable& table : tables_) table.clear();
    generation_ = lookupGeneration();
    usable_ = addToIndex(0);
  }

  // False when one of the definitions makes an index over the list unreliable.
  bool addToIndex(std::size_t first) {
    if (list_ == nullptr) return true;
    if (list_->size() > std::numeric_limits<std::uint32_t>::max()) return false;
    for (std::size_t i = first; i < list_->size(); ++i) {
      const Handle& each = (*list_)[i];
      if (each == nullptr) continue;
      if (!Rule::prepare(each)) return false;
      Rule::forEachKey(*each, [&](std::size_t table, std::string_view key) {
        tables_[table].insert(key, static_cast<std::uint32_t>(i));
      });
    }
    return true;
  }

  bool prepareAll() {
    for (const Handle& each : *list_) {
      if (!Rule::prepare(each)) return false;
    }
    return true;
  }

  DefinitionList<Definition> list_;
  std::vector<Handle>* own_ = nullptr;  // the vector in `list_`
  Tables tables_;
  std::uint64_t generation_ = 0;
  bool usable_ = true;
};

}  // namespace qv
