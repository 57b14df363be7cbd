#include "qvparsersupport/ipmessages/json_message.h"

namespace qv {

bool QVIPMultipleCharacteristicReadRequestMessage::messageMatchesHTTPMessage(
    const QVHTTPMessage& httpMessage) {
  return httpMessage.requestMethod() == kMethod && httpMessage.requestURL() &&
         httpMessage.requestURL()->starts_with(kURL);
}

std::span<const char* const> QVIPIdentifyResponseMessage::allowedHTTPResponseCodes() const {
  static constexpr const char* kCodes[] = {"204", "400"};
  return kCodes;
}

bool QVIPEventNotificationMessage::messageMatchesRequest(const QVIPMessage* request,
                                                         const QVHTTPMessage& httpMessage) {
  return request == nullptr && httpMessage.responseHTTPVersion() == kEventVersion;
}

}  // namespace qv
