#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/value.h"

namespace qv {

// The kinds of JSON values, as an object expects them.
enum class QVIPJSONValueType : std::int32_t {
  unspecified = 0,  // inferred from the value
  number = 1,
  string = 2,
  boolean = 3,
  array = 4,
  object = 5,
  null = 6,
};

// Set while a characteristic is read whose "status" excuses a missing "value"; every construction
// of a JSON object clears it. One unsynchronised flag for the process, so JSON bodies are validated
// on one thread at a time.
QV_EXPORT extern bool sawFailStatus;

// Base of the objects that validate a JSON body, one for each JSON object or array element. A fault
// is recorded on the object where it is found and flagged upwards to the root, so that the root can
// tell whether anything below it is faulty.
//
// Made in two steps, so that an initialiser can hand its own object to the children that it builds:
// std::make_shared, then `initWithJSONObject`; `make` does both. The parent owns its children; the
// link upwards owns nothing and answers null once the parent is gone, so a host may keep a child
// alone. An object must never become its own ancestor.
class QV_EXPORT QVIPJSONObject : public std::enable_shared_from_this<QVIPJSONObject> {
 public:
  QVIPJSONObject() = default;
  QVIPJSONObject(const QVIPJSONObject&) = delete;
  QVIPJSONObject& operator=(const QVIPJSONObject&) = delete;
  virtual ~QVIPJSONObject() = default;

  template <class Object>
  static std::shared_ptr<Object> make(std::optional<Value> jsonObject,
                                      const std::shared_ptr<QVIPJSONObject>& parent,
                                      QVIPJSONValueType type = QVIPJSONValueType::unspecified) {
    auto object = std::make_shared<Object>();
    object->initWithJSONObject(std::move(jsonObject), parent, type);
    return object;
  }

  // Takes the value and checks that it is of the kind asked for; with `unspecified` the kind is
  // inferred, true and false then being numbers. Subclasses call this first and then read their
  // keys. "No value at all" is of no kind, `null` included.
  virtual void initWithJSONObject(std::optional<Value> jsonObject,
                                  const std::shared_ptr<QVIPJSONObject>& parent,
                                  QVIPJSONValueType type);

  // Null when the value was not of the kind asked for.
  const std::optional<Value>& jsonObject() const { return jsonObject_; }
  // A number that is no enumerator is kept as it is.
  QVIPJSONValueType jsonType() const { return jsonType_; }
  std::shared_ptr<QVIPJSONObject> parent() const { return parent_.lock(); }

  // The fault of this object itself.
  const std::optional<std::string>& errorDescription() const { return errorDescription_; }
  // Deliberate: flags the parent whatever is set, so null too.
  void setErrorDescription(std::optional<std::string> text);

  // True when a fault was found in a value read by this object or anywhere below it.
  bool childObjectHasError() const { return childObjectHasError_; }
  // Deliberate: passes the same flag on to every ancestor, so that false clears them all, whatever
  // their other children say.
  void setChildObjectHasError(bool flag);

 private:
  void checkKind();
  void inferKind();

  std::optional<Value> jsonObject_;
  std::weak_ptr<QVIPJSONObject> parent_;
  std::optional<std::string> errorDescription_;
  QVIPJSONValueType jsonType_ = QVIPJSONValueType::unspecified;
  bool childObjectHasError_ = false;
};

}  // namespace qv
