#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "qvparsersupport/json/ip_json_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

// The strings of an attribute database that come from a small vocabulary. Each expects a string,
// whatever kind the caller asks for, and holds what it stands for; `none` with a fault for a string
// that is not in the table. Deliberate: what is no string is not in the table either, and gets that
// text and not the one about its kind.

class QV_EXPORT QVIPFormatString : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;
  QVFormatType formatType() const { return QVFormatType{formatType_}; }
  std::string expectation() const override;

 private:
  std::uint8_t formatType_ = 0;  // no larger than the room that the base leaves at its end
};

class QV_EXPORT QVIPPermissionString : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;
  QVPermissionType permissionType() const { return QVPermissionType{permissionType_}; }
  std::string expectation() const override;

 private:
  std::uint8_t permissionType_ = 0;  // no larger than the room that the base leaves at its end
};

class QV_EXPORT QVIPUnitString : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;
  QVUnitType unitType() const { return QVUnitType{unitType_}; }
  std::string expectation() const override;

 private:
  std::uint8_t unitType_ = 0;  // no larger than the room that the base leaves at its end
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
  std::optional<std::string> fullUUID() const;
  // Of the definition that has this UUID on the IP transport; null when the shared symbol table has
  // none. Deliberate: a service's name wins over a characteristic's, even where the string is the
  // type of a characteristic.
  std::optional<std::string> name() const;
  // The characteristic definition that has this UUID on the IP transport, as the shared symbol
  // table had it when the object was built; null when it had none.
  const std::shared_ptr<QVCharacteristicXMLObject>& characteristic() const {
    return characteristic_;
  }
  std::string expectation() const override;

 private:
  std::shared_ptr<QVServiceXMLObject> service_;
  std::shared_ptr<QVCharacteristicXMLObject> characteristic_;
};

}  // namespace qv
