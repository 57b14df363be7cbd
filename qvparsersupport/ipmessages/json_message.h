#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/ipmessages/characteristic_query.h"
#include "qvparsersupport/ipmessages/message_class.h"
#include "qvparsersupport/json/attribute_database_objects.h"
#include "qvparsersupport/json/characteristic_access_objects.h"

namespace qv {

// The messages that carry JSON or nothing. Bodies are decoded while a message is built; the objects
// that they become are kept with their faults.

class QV_EXPORT QVIPJSONPayloadMessage : public QVIPMessage {
 public:
  static constexpr const char* kClassName = "QVIPJSONPayloadMessage";
  const char* className() const override { return kClassName; }

  // The body, kept after the first successful parse. Null, with an error description that replaces
  // an earlier one (Deliberate: that of the status code too), when the content type or the body is
  // not what it must be; null without one when the message carries neither a content type nor a
  // body.
  std::optional<Value> jsonPayload();
  const std::optional<Value>& cachedJSONPayload() const { return cachedJSONPayload_; }
  void setCachedJSONPayload(std::optional<Value> payload) {
    cachedJSONPayload_ = std::move(payload);
  }

  // The object that the body was decoded into; null for a message that decodes none.
  virtual std::shared_ptr<QVIPJSONObject> payloadObject() const { return nullptr; }
  // The keys of the body that none of the objects read, with their bytes; at most 10,000.
  std::vector<JSONKeyPlace> unreadJSONKeys() const;

 protected:
  void initWithHTTPMessage(std::shared_ptr<QVHTTPMessage> httpMessage) override;
  void initWithRequest(std::shared_ptr<QVIPMessage> request,
                       std::shared_ptr<QVHTTPMessage> httpMessage) override;
  std::optional<Value> payloadValue() const override { return cachedJSONPayload_; }

 private:
  std::optional<Value> cachedJSONPayload_;
};

class QV_EXPORT QVIPAccessoryAttributeDatabaseRequestMessage
    : public QVIPRequestClass<QVIPAccessoryAttributeDatabaseRequestMessage, QVIPMessage> {
 public:
  static constexpr const char* kClassName = "QVIPAccessoryAttributeDatabaseRequestMessage";
  static constexpr const char* kMethod = "GET";
  static constexpr const char* kURL = "/accessories";

 protected:
  // A body is a fault.
  void initWithHTTPMessage(std::shared_ptr<QVHTTPMessage> httpMessage) override;
};

class QV_EXPORT QVIPAccessoryAttributeDatabaseResponseMessage
    : public QVIPResponseClass<QVIPAccessoryAttributeDatabaseResponseMessage,
                               QVIPAccessoryAttributeDatabaseRequestMessage,
                               QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPAccessoryAttributeDatabaseResponseMessage";

  // Never null once the message is built; without a body it carries the fault.
  const std::shared_ptr<QVIPAttributeDatabaseObject>& attributeDatabaseObject() const {
    return attributeDatabaseObject_;
  }
  std::shared_ptr<QVIPJSONObject> payloadObject() const override {
    return attributeDatabaseObject_;
  }

 protected:
  void initWithRequest(std::shared_ptr<QVIPMessage> request,
                       std::shared_ptr<QVHTTPMessage> httpMessage) override;

 private:
  std::shared_ptr<QVIPAttributeDatabaseObject> attributeDatabaseObject_;
};

class QV_EXPORT QVIPMultipleCharacteristicReadRequestMessage : public QVIPJSONPayloadMessage {
 public:
  static constexpr const char* kClassName = "QVIPMultipleCharacteristicReadRequestMessage";
  static constexpr const char* kMethod = "GET";
  static constexpr const char* kURL = "/characteristics";
  // Deliberate: any URL that begins with "/characteristics", "/characteristicsX" included.
  static bool messageMatchesHTTPMessage(const QVHTTPMessage& httpMessage);
  const char* className() const override { return kClassName; }

  // The ids of a "/characteristics?id=1.10,2.3" URL, as characteristicIDsOfURL answers them.
  static std::optional<std::vector<QVIPCharacteristicID>> idStringsFromCharacteristicsURLString(
      std::string_view url, ErrorSlot errorDescription = nullptr);
  // Null when the URL has another form.
  const std::optional<std::vector<QVIPCharacteristicID>>& characteristicReadURLComponents() const {
    return characteristicReadURLComponents_;
  }

 protected:
  void initWithHTTPMessage(std::shared_ptr<QVHTTPMessage> httpMessage) override;

 private:
  std::optional<std::vector<QVIPCharacteristicID>> characteristicReadURLComponents_;
};

class QV_EXPORT QVIPMultipleCharacteristicReadResponseMessage
    : public QVIPResponseClass<QVIPMultipleCharacteristicReadResponseMessage,
                               QVIPMultipleCharacteristicReadRequestMessage,
                               QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPMultipleCharacteristicReadResponseMessage";

  // Never null once the message is built; without a body it carries the fault.
  const std::shared_ptr<QVIPMultipleCharacteristicReadObject>& multipleReadObject() const {
    return multipleReadObject_;
  }
  std::shared_ptr<QVIPJSONObject> payloadObject() const override { return multipleReadObject_; }

 protected:
  void initWithRequest(std::shared_ptr<QVIPMessage> request,
                       std::shared_ptr<QVHTTPMessage> httpMessage) override;

 private:
  std::shared_ptr<QVIPMultipleCharacteristicReadObject> multipleReadObject_;
};

class QV_EXPORT QVIPMultipleCharacteristicWriteRequestMessage
    : public QVIPRequestClass<QVIPMultipleCharacteristicWriteRequestMessage,
                              QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPMultipleCharacteristicWriteRequestMessage";
  static constexpr const char* kMethod = "PUT";
  static constexpr const char* kURL = "/characteristics";

  // Never null once the message is built; without a body it carries the fault.
  const std::shared_ptr<QVIPMultipleCharacteristicWriteObject>& multipleWriteObject() const {
    return multipleWriteObject_;
  }
  std::shared_ptr<QVIPJSONObject> payloadObject() const override { return multipleWriteObject_; }

 protected:
  void initWithHTTPMessage(std::shared_ptr<QVHTTPMessage> httpMessage) override;

 private:
  std::shared_ptr<QVIPMultipleCharacteristicWriteObject> multipleWriteObject_;
};

class QV_EXPORT QVIPMultipleCharacteristicWriteResponseMessage
    : public QVIPResponseClass<QVIPMultipleCharacteristicWriteResponseMessage,
                               QVIPMultipleCharacteristicWriteRequestMessage,
                               QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPMultipleCharacteristicWriteResponseMessage";

 protected:
  void initWithRequest(std::shared_ptr<QVIPMessage> request,
                       std::shared_ptr<QVHTTPMessage> httpMessage) override;
};

class QV_EXPORT QVIPPrepareRequestMessage
    : public QVIPRequestClass<QVIPPrepareRequestMessage, QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPPrepareRequestMessage";
  static constexpr const char* kMethod = "PUT";
  static constexpr const char* kURL = "/prepare";
};

class QV_EXPORT QVIPPrepareResponseMessage
    : public QVIPResponseClass<QVIPPrepareResponseMessage, QVIPPrepareRequestMessage,
                               QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPPrepareResponseMessage";
};

class QV_EXPORT QVIPIdentifyRequestMessage
    : public QVIPRequestClass<QVIPIdentifyRequestMessage, QVIPMessage> {
 public:
  static constexpr const char* kClassName = "QVIPIdentifyRequestMessage";
  static constexpr const char* kMethod = "POST";
  static constexpr const char* kURL = "/identify";
};

class QV_EXPORT QVIPIdentifyResponseMessage
    : public QVIPResponseClass<QVIPIdentifyResponseMessage, QVIPIdentifyRequestMessage,
                               QVIPMessage> {
 public:
  static constexpr const char* kClassName = "QVIPIdentifyResponseMessage";
  std::span<const char* const> allowedHTTPResponseCodes() const override;
};

// Sent by an accessory of its own accord, so it answers no request.
class QV_EXPORT QVIPEventNotificationMessage : public QVIPJSONPayloadMessage {
 public:
  static constexpr const char* kClassName = "QVIPEventNotificationMessage";
  static bool messageMatchesRequest(const QVIPMessage* request, const QVHTTPMessage& httpMessage);
  const char* className() const override { return kClassName; }

  // Never null once the message is built; without a body it carries the fault.
  const std::shared_ptr<QVIPMultipleCharacteristicReadObject>& multipleReadObject() const {
    return multipleReadObject_;
  }
  std::shared_ptr<QVIPJSONObject> payloadObject() const override { return multipleReadObject_; }

 protected:
  void initWithRequest(std::shared_ptr<QVIPMessage> request,
                       std::shared_ptr<QVHTTPMessage> httpMessage) override;

 private:
  std::shared_ptr<QVIPMultipleCharacteristicReadObject> multipleReadObject_;
};

// The snapshot resource is an image or the like: nothing of a body is ever checked.
class QV_EXPORT QVHTTPSnapshotRequestMessage
    : public QVIPRequestClass<QVHTTPSnapshotRequestMessage, QVIPMessage> {
 public:
  static constexpr const char* kClassName = "QVHTTPSnapshotRequestMessage";
  static constexpr const char* kMethod = "POST";
  static constexpr const char* kURL = "/resource";
};

class QV_EXPORT QVHTTPSnapshotResponseMessage
    : public QVIPResponseClass<QVHTTPSnapshotResponseMessage, QVHTTPSnapshotRequestMessage,
                               QVIPMessage> {
 public:
  static constexpr const char* kClassName = "QVHTTPSnapshotResponseMessage";
};

}  // namespace qv
