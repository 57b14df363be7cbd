#pragma once

#include <exception>
#include <memory>
#include <string>

#include "qvparsersupport/common/export.h"

namespace qv {

class Value;
class XMLElement;

// A place in this library's source. (clang 14 has no std::source_location.)
struct SourceOrigin {
  const char* file;
  int line;
  static constexpr SourceOrigin here(const char* file = __builtin_FILE(),
                                     int line = __builtin_LINE()) {
    return {file, line};
  }
};

// The load-assertion error, the library's one exception kind: an inconsistency in a profile. Raised
// by definitions and by the symbol table while a profile is loaded or restored; the two loaders of
// the symbol table are the only places that catch it. It reaches a host only when the host itself
// builds a definition outside a load.
class QV_EXPORT QVLoadAssertion : public std::exception {
 public:
  static constexpr const char* kName = "com.corvid.BRLoadAssert";

  QVLoadAssertion(std::string reason, std::shared_ptr<const XMLElement> element,
                  SourceOrigin origin);

  const char* name() const { return kName; }
  const std::string& reason() const { return reason_; }
  // Always an empty dictionary.
  Value userInfo() const;
  const char* what() const noexcept override { return reason_.c_str(); }

  // Where in the library the rule stands and, when it is known, where in the profile it failed; the
  // second log line of a failed load.
  std::string origin() const;

  // The element that the reason speaks of; null when there is none.
  const std::shared_ptr<const XMLElement>& element() const { return element_; }

 private:
  std::string reason_;
  std::shared_ptr<const XMLElement> element_;
  SourceOrigin origin_;
};

// Raises the load-assertion error. The element, when given, is the place in the profile to look at.
[[noreturn]] QV_EXPORT void raiseLoadAssertion(std::string reason,
                                               std::shared_ptr<const XMLElement> element = nullptr,
                                               SourceOrigin origin = SourceOrigin::here());

}  // namespace qv
