#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "qvparsersupport/common/export.h"

namespace qv {

// A JSON key that an object class reads. Only a constant makes one, so the text outlives every
// object that keeps it.
class QVIPJSONKey {
 public:
  consteval QVIPJSONKey(const char* text)  // NOLINT(google-explicit-constructor)
      : text_(text) {}

  std::string_view text() const { return text_; }
  const char* c_str() const { return text_.data(); }
  friend bool operator==(QVIPJSONKey left, QVIPJSONKey right) { return left.text_ == right.text_; }

 private:
  friend class QVIPJSONJournal;
  struct FromJournal {};
  QVIPJSONKey(const char* text, FromJournal) : text_(text) {}

  std::string_view text_;
};

}  // namespace qv
