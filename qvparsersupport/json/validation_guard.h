#pragma once

namespace qv {

// Held while JSON objects read their keys. In a build without NDEBUG it ends the program with a
// message when a second thread reads at the same time, because `sawFailStatus` would then mix up
// the two bodies. Internal.
class JSONValidationGuard {
 public:
#ifdef NDEBUG
  JSONValidationGuard() = default;
  ~JSONValidationGuard() {}  // NOLINT(modernize-use-equals-default): keeps the variable used
#else
  JSONValidationGuard();
  ~JSONValidationGuard();
#endif
  JSONValidationGuard(const JSONValidationGuard&) = delete;
  JSONValidationGuard& operator=(const JSONValidationGuard&) = delete;
};

}  // namespace qv
