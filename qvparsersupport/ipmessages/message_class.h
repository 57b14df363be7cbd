#pragma once

#include <memory>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/ipmessages/ip_message.h"

namespace qv {

// A row of the list of message classes.
struct QVIPMessageClass {
  const char* name;
  // For a request class, the method and the URL that it recognises (the beginning of the URL for
  // characteristic reads); null otherwise.
  const char* method;
  const char* url;
  // For a response class, the name of the request class that it answers; null otherwise.
  const char* answers;
  // What the class's static operations of the same names answer.
  bool (*messageMatchesHTTPMessage)(const QVHTTPMessage& httpMessage);
  bool (*messageMatchesRequest)(const QVIPMessage* request, const QVHTTPMessage& httpMessage);
  std::shared_ptr<QVIPMessage> (*make)();
};

// The first item of an event notification's first line.
inline constexpr const char* kEventVersion = "EVENT/1.0";

// What makes a class a request class: `Self` names its `kClassName`, and the method `kMethod` and
// the whole URL `kURL` that it recognises, both compared exactly.
template <class Self, class Base>
class QV_EXPORT QVIPRequestClass : public Base {
 public:
  static bool messageMatchesHTTPMessage(const QVHTTPMessage& httpMessage) {
    return httpMessage.requestMethod() == Self::kMethod && httpMessage.requestURL() == Self::kURL;
  }
  const char* className() const override { return Self::kClassName; }
};

// What makes a class a response class: it recognises what answers a `Request` or a subclass of it.
// Deliberate: an event notification answers nothing, even when it is handed in with a request.
template <class Self, class Request, class Base>
class QV_EXPORT QVIPResponseClass : public Base {
 public:
  using Answered = Request;
  static bool messageMatchesRequest(const QVIPMessage* request, const QVHTTPMessage& httpMessage) {
    return dynamic_cast<const Request*>(request) != nullptr &&
           httpMessage.responseHTTPVersion() != kEventVersion;
  }
  const char* className() const override { return Self::kClassName; }
};

}  // namespace qv
