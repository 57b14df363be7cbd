#pragma once

#include <memory>
#include <optional>
#include <string>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/json/ip_json_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

// The strings of an attribute database that come from a small vocabulary. Each expects a string,
// whatever kind the caller asks for, and holds what it stands for; `none` with a fault for a string
// that is not in the table.

class QV_EXPORT QVIPFormatString : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;
  QVFormatType formatType() const { return formatType_; }
  std::string expectation() const override;

 private:
  QVFormatType formatType_ = QVFormatType::none;
};

class QV_EXPORT QVIPPermissionString : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;
  QVPermissionType permissionType() const { return permissionType_; }
  std::string expectation() const override;

 private:
  QVPermissionType permissionType_ = QVPermissionType::none;
};

class QV_EXPORT QVIPUnitString : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;
  QVUnitType unitType() const { return unitType_; }
  std::string expectation() const override;

 private:
  QVUnitType unitType_ = QVUnitType::none;
};

// The UUID of a service or characteristic, in its short or full form.
class QV_EXPORT QVIPUUIDTypeString : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;
  // The string as it was found; null when it was no string.
  std::optional<std::string> type() const;
  // In lower case; null when the string has the length of neither form.
  const std::optional<std::string>& fullUUID() const { return fullUUID_; }
  // Of the definition that has this UUID on the IP transport; null when the shared symbol table has
  // none. A service's name wins over a characteristic's.
  const std::optional<std::string>& name() const { return name_; }
  std::string expectation() const override;

 private:
  std::optional<std::string> fullUUID_;
  std::optional<std::string> name_;
};

}  // namespace qv
