#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/json/ip_json_object.h"

namespace qv {

// The bodies of characteristic reads, event notifications and characteristic writes: an array of
// entries, each for one characteristic. Values are taken as they stand; no definition is asked.
// Each class expects a JSON object, whatever kind the caller asks for.

// An entry of a 200 answer or an event. A missing "value" leaves no trace.
class QV_EXPORT QVIPCharacteristicReadObject : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;

  std::optional<Number> iidValue() const;
  std::optional<Number> aidValue() const;
  std::optional<Value> valueValue() const;
};

// An entry of a 207 answer. "status" is read before "value". Deliberate: a status of any value, 0
// (success) included, excuses a missing value.
class QV_EXPORT QVIPCharacteristicReadObjectWithStatus : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;

  std::optional<Number> iidValue() const;
  std::optional<Number> aidValue() const;
  std::optional<Number> statusValue() const;
  std::optional<Value> valueValue() const;

 protected:
  bool statusExcusesValue() const override { return true; }
};

// Built in two steps where the status code matters: made, told the code, then initialised. Without
// a code its entries are read without status.
class QV_EXPORT QVIPMultipleCharacteristicReadObject : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;

  // The status code of the message that carried the body.
  const std::optional<std::string>& HTTPResponse() const { return HTTPResponse_; }
  void setHTTPResponse(std::optional<std::string> code) { HTTPResponse_ = std::move(code); }

  std::optional<Number> statusValue() const;  // read only with code "500"
  // Of class QVIPCharacteristicReadObjectWithStatus with code "207", QVIPCharacteristicReadObject
  // with every other.
  std::optional<QVIPJSONObjectList> characteristicsValue() const;

 private:
  std::optional<std::string> HTTPResponse_ = "";
};

// An entry of a write. Deliberate: "value" is read only when "ev" is absent, so beside "ev" it is
// an unknown key.
class QV_EXPORT QVIPCharacteristicWriteObject : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;

  std::optional<Number> iidValue() const;
  std::optional<Number> aidValue() const;
  std::optional<std::string> authDataValue() const;
  std::optional<Value> remoteValue() const;  // a number that is 0 or 1, or the null Value
  std::optional<Value> evValue() const;      // the same
  std::optional<Value> valueValue() const;
};

class QV_EXPORT QVIPMultipleCharacteristicWriteObject : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;

  std::optional<std::vector<std::shared_ptr<QVIPCharacteristicWriteObject>>> characteristicsValue()
      const;
};

}  // namespace qv
