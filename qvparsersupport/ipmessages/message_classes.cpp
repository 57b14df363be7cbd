#include "qvparsersupport/ipmessages/ip_message.h"
#include "qvparsersupport/ipmessages/json_message.h"
#include "qvparsersupport/ipmessages/message_class.h"
#include "qvparsersupport/ipmessages/tlv8_message.h"

namespace qv {

namespace {

template <class Message>
constexpr QVIPMessageClass rowOf() {
  QVIPMessageClass row = {
      Message::kClassName,
      nullptr,
      nullptr,
      nullptr,
      &Message::messageMatchesHTTPMessage,
      &Message::messageMatchesRequest,
      []() -> std::shared_ptr<QVIPMessage> { return std::make_shared<Message>(); }};
  if constexpr (requires { Message::kMethod; }) {
    row.method = Message::kMethod;
    row.url = Message::kURL;
  }
  if constexpr (requires { typename Message::Answered; }) {
    row.answers = Message::Answered::kClassName;
  }
  return row;
}

// The recognition rules exclude each other, so the order decides nothing.
constexpr QVIPMessageClass kMessageClasses[] = {
    // Bases, which recognise nothing.
    rowOf<QVIPTLV8PayloadMessage>(),
    rowOf<QVIPJSONPayloadMessage>(),
    // Requests.
    rowOf<QVIPPairSetupRequestMessage>(),
    rowOf<QVIPPairVerifyRequestMessage>(),
    rowOf<QVIPPairingsRequestMessage>(),
    rowOf<QVIPAccessoryAttributeDatabaseRequestMessage>(),
    rowOf<QVIPMultipleCharacteristicReadRequestMessage>(),
    rowOf<QVIPMultipleCharacteristicWriteRequestMessage>(),
    rowOf<QVIPPrepareRequestMessage>(),
    rowOf<QVIPIdentifyRequestMessage>(),
    rowOf<QVHTTPSnapshotRequestMessage>(),
    // Responses.
    rowOf<QVIPPairSetupResponseMessage>(),
    rowOf<QVIPPairVerifyResponseMessage>(),
    rowOf<QVIPPairingsResponseMessage>(),
    rowOf<QVIPAccessoryAttributeDatabaseResponseMessage>(),
    rowOf<QVIPMultipleCharacteristicReadResponseMessage>(),
    rowOf<QVIPMultipleCharacteristicWriteResponseMessage>(),
    rowOf<QVIPPrepareResponseMessage>(),
    rowOf<QVIPIdentifyResponseMessage>(),
    rowOf<QVHTTPSnapshotResponseMessage>(),
    rowOf<QVIPEventNotificationMessage>(),
};

}  // namespace

std::span<const QVIPMessageClass> QVIPMessage::_messageClasses() {
  return kMessageClasses;
}

}  // namespace qv
