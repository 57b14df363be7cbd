#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <variant>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/failure.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// None for a type that is not known here.
using SavedRecord = std::variant<std::monostate, RunRecord, ProfileRecord, InputRecord,
                                 ConnectionRecord, MessageRecord, Finding, GapRecord, Summary>;

// One line of a run that was saved as NDJSON ("qv.run/1"). Keys that are not known are passed over.
class SavedLine {
 public:
  explicit SavedLine(ByteView line);

  bool isObject() const { return json_.is_object(); }
  // Of the record; empty when the line names none.
  const std::string& type() const { return type_; }
  // Null, with a text, when the run is of another schema, or a field is missing or of the wrong
  // kind.
  std::optional<SavedRecord> record(ErrorSlot errorDescription) const;

 private:
  template <class Record>
  std::optional<SavedRecord> read(ErrorSlot errorDescription) const;

  nlohmann::ordered_json json_;
  std::string type_;
};

}  // namespace qv::check
