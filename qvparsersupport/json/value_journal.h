#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "qvparsersupport/common/value.h"
#include "qvparsersupport/json/extracted_value.h"
#include "qvparsersupport/json/json_key.h"
#include "qvparsersupport/json/json_value_type.h"

namespace qv {

// How an object keeps its reads: a database has a dozen for each characteristic, most of them of
// absent keys, so an entry is 16 bytes and only what cannot be read again from the value is kept
// beside it. Internal; hosts see QVIPJSONExtractedValue.
class QVIPJSONJournal {
 public:
  // What a read came to, where it needs no detail.
  static constexpr std::uint32_t kNothing = 0xFFFF'FFFF;  // nothing was obtained
  static constexpr std::uint32_t kRaw = 0xFFFF'FFFE;      // the raw value, as it is
  // For a read that obtained something else than the raw value, or was faulty.
  struct Detail {
    std::variant<std::monostate, Value, std::shared_ptr<QVIPJSONObject>, QVIPJSONObjectList> value;
    std::unique_ptr<std::string> errorDescription;
  };
  struct Entry {
    const char* key;
    QVIPJSONValueType type;
    std::uint32_t outcome;  // kNothing, kRaw or a position among the details
  };

  QVIPJSONJournal() = default;
  QVIPJSONJournal(const QVIPJSONJournal&) = delete;
  QVIPJSONJournal& operator=(const QVIPJSONJournal&) = delete;
  ~QVIPJSONJournal() { clear(); }

  void clear();
  // Makes room for so many entries and details, so that they cost one allocation each.
  void reserve(std::size_t entries, std::size_t details);
  void add(QVIPJSONKey key, QVIPJSONValueType type, std::uint32_t outcome);
  Detail& addDetail(QVIPJSONKey key, QVIPJSONValueType type);
  // The journal is not empty. `raw` is the raw value under the key of the last entry.
  void setLastError(std::string text, const std::optional<Value>& raw);

  // Whether an entry is of this key.
  bool names(std::string_view key) const;
  std::size_t size() const { return reads_ == nullptr ? 0 : reads_->size; }
  const Entry& operator[](std::size_t index) const { return reads_->entries()[index]; }
  // Null when the entry has none.
  const Detail* detailOf(const Entry& entry) const;
  static bool isRaw(const Entry& entry) { return entry.outcome == kRaw; }
  static QVIPJSONKey keyOf(const Entry& entry) { return {entry.key, QVIPJSONKey::FromJournal()}; }
  // The same as comparing with `keyOf`, without measuring the entry's key.
  static bool isOf(const Entry& entry, QVIPJSONKey key) {
    return entry.key == key.c_str() ||
           (*entry.key == *key.c_str() && std::strcmp(entry.key, key.c_str()) == 0);
  }

 private:
  // The entries stand right behind it. Most objects of a database are strings and numbers that read
  // nothing, so an empty journal is one null pointer.
  struct Reads {
    std::vector<Detail> details;
    std::uint32_t size = 0;
    std::uint32_t capacity = 0;
    Entry* entries() { return reinterpret_cast<Entry*>(this + 1); }
  };
  void grow(std::size_t capacity);

  Reads* reads_ = nullptr;
};

}  // namespace qv
