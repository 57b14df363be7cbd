#pragma once

#include <cstddef>
#include <cstdint>
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
    bool raw = false;  // the raw value was obtained as it is
  };
  struct Entry {
    const char* key;
    QVIPJSONValueType type;
    std::uint32_t outcome;  // kNothing, kRaw or a position among the details
  };

  void clear();
  void add(QVIPJSONKey key, QVIPJSONValueType type, std::uint32_t outcome);
  Detail& addDetail(QVIPJSONKey key, QVIPJSONValueType type);
  // Nothing happens to an empty journal.
  void setLastError(std::string text);

  // Whether an entry is of this key.
  bool names(std::string_view key) const;
  std::size_t size() const { return entries_.size(); }
  const Entry& operator[](std::size_t index) const { return entries_[index]; }
  // Null when the entry has none.
  const Detail* detailOf(const Entry& entry) const;
  bool isRaw(const Entry& entry) const;
  static QVIPJSONKey keyOf(const Entry& entry) { return {entry.key, QVIPJSONKey::FromJournal()}; }

 private:
  std::vector<Entry> entries_;
  std::vector<Detail> details_;
};

}  // namespace qv
