#pragma once

#include <span>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/ipmessages/message_class.h"

namespace qv {

// The messages that carry JSON or nothing. Each recognises its traffic, and its responses undergo
// the checks that every response undergoes; their bodies are not looked at beyond those.

class QV_EXPORT QVIPJSONPayloadMessage : public QVIPMessage {
 public:
  static constexpr const char* kClassName = "QVIPJSONPayloadMessage";
  const char* className() const override { return kClassName; }
};

class QV_EXPORT QVIPAccessoryAttributeDatabaseRequestMessage
    : public QVIPRequestClass<QVIPAccessoryAttributeDatabaseRequestMessage, QVIPMessage> {
 public:
  static constexpr const char* kClassName = "QVIPAccessoryAttributeDatabaseRequestMessage";
  static constexpr const char* kMethod = "GET";
  static constexpr const char* kURL = "/accessories";
};

class QV_EXPORT QVIPAccessoryAttributeDatabaseResponseMessage
    : public QVIPResponseClass<QVIPAccessoryAttributeDatabaseResponseMessage,
                               QVIPAccessoryAttributeDatabaseRequestMessage,
                               QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPAccessoryAttributeDatabaseResponseMessage";
};

class QV_EXPORT QVIPMultipleCharacteristicReadRequestMessage : public QVIPJSONPayloadMessage {
 public:
  static constexpr const char* kClassName = "QVIPMultipleCharacteristicReadRequestMessage";
  static constexpr const char* kMethod = "GET";
  static constexpr const char* kURL = "/characteristics";
  // Any URL that begins with "/characteristics", "/characteristicsX" included.
  static bool messageMatchesHTTPMessage(const QVHTTPMessage& httpMessage);
  const char* className() const override { return kClassName; }
};

class QV_EXPORT QVIPMultipleCharacteristicReadResponseMessage
    : public QVIPResponseClass<QVIPMultipleCharacteristicReadResponseMessage,
                               QVIPMultipleCharacteristicReadRequestMessage,
                               QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPMultipleCharacteristicReadResponseMessage";
};

class QV_EXPORT QVIPMultipleCharacteristicWriteRequestMessage
    : public QVIPRequestClass<QVIPMultipleCharacteristicWriteRequestMessage,
                              QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPMultipleCharacteristicWriteRequestMessage";
  static constexpr const char* kMethod = "PUT";
  static constexpr const char* kURL = "/characteristics";
};

class QV_EXPORT QVIPMultipleCharacteristicWriteResponseMessage
    : public QVIPResponseClass<QVIPMultipleCharacteristicWriteResponseMessage,
                               QVIPMultipleCharacteristicWriteRequestMessage,
                               QVIPJSONPayloadMessage> {
 public:
  static constexpr const char* kClassName = "QVIPMultipleCharacteristicWriteResponseMessage";
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
