#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "qvparsersupport/common/export.h"

namespace qv {

// Base of the identifier objects that a client may keep with a definition. They hold a text exactly
// as given: no check, no change of case, no comparison.
class QV_EXPORT QVIdentifier {
 public:
  QVIdentifier() = default;
  QVIdentifier(const QVIdentifier&) = default;
  QVIdentifier& operator=(const QVIdentifier&) = default;
  virtual ~QVIdentifier();
};

class QV_EXPORT QVUniformTypeIdentifier : public QVIdentifier {
 public:
  static std::shared_ptr<QVUniformTypeIdentifier> identifierWithUTI(std::optional<std::string> uti);

  const std::optional<std::string>& uti() const { return uti_; }
  void setUti(std::optional<std::string> uti) { uti_ = std::move(uti); }

 private:
  std::optional<std::string> uti_;
};

class QV_EXPORT QVUniversallyUniqueIdentifier : public QVIdentifier {
 public:
  static std::shared_ptr<QVUniversallyUniqueIdentifier> identifierWithUUIDString(
      std::optional<std::string> uuidString);

  const std::optional<std::string>& uuidString() const { return uuidString_; }
  void setUuidString(std::optional<std::string> text) { uuidString_ = std::move(text); }

 private:
  std::optional<std::string> uuidString_;
};

}  // namespace qv
