#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/json_pointer.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/ipmessages/http_message.h"
#include "qvparsersupport/ipmessages/message_fault.h"

namespace qv {

class QVIPJSONObject;
struct QVIPMessageClass;

// Status codes of JSON bodies, published for hosts.
QV_EXPORT extern const std::int64_t VELIPStatusErrorCodeInvalidParameter;        // -70410
QV_EXPORT extern const std::int64_t VELIPStatusErrorCodeInsufficientPrivileges;  // -70401

// One captured message of the IP transport, recognised and checked. A faulty message is still
// returned; what is wrong with it is its `errorDescription` (the last text) and its `faults` (all
// of them, in order). Unknown traffic yields null.
//
// A message belongs to the thread that uses it. Several threads may classify at once, but messages
// of the classes that decode JSON objects only one at a time, whether they have a body or not; see
// `sawFailStatus`.
class QV_EXPORT QVIPMessage {
 public:
  QVIPMessage(const QVIPMessage&) = delete;
  QVIPMessage& operator=(const QVIPMessage&) = delete;
  virtual ~QVIPMessage();

  // The message that the header block (see QVHTTPMessage) and body make; null when no request class
  // recognises it. Buffers are copied. A JSON body beyond the limits is one that cannot be parsed.
  static std::shared_ptr<QVIPMessage> requestMessageForHeader(ByteView header,
                                                              std::optional<ByteView> payload,
                                                              const JSONLimits& limits = {});
  // The answer to `request`, or with a null request an event notification; null when no response
  // class recognises it, and for an event notification that is handed in with a request.
  static std::shared_ptr<QVIPMessage> responseMessageForRequest(
      std::shared_ptr<QVIPMessage> request, ByteView header, std::optional<ByteView> payload,
      const JSONLimits& limits = {});

  // Every message class, its bases included; see message_class.h. The same list for the life of the
  // process.
  static std::span<const QVIPMessageClass> _messageClasses();
  // Whether an HTTP message is a request of this class, or (given the request, null for none) a
  // response of it. A class that recognises something hides one of them with its own.
  static bool messageMatchesHTTPMessage(const QVHTTPMessage&) { return false; }
  static bool messageMatchesRequest(const QVIPMessage*, const QVHTTPMessage&) { return false; }

  // The name of the message's class, "QVIPPairSetupRequestMessage" for one.
  virtual const char* className() const = 0;

  const std::shared_ptr<QVHTTPMessage>& httpMessage() const { return httpMessage_; }
  void setHttpMessage(std::shared_ptr<QVHTTPMessage> message);
  // The last problem found; null means that the message is valid as far as it was checked.
  const std::optional<std::string>& errorDescription() const { return errorDescription_; }
  // A text that is set is also kept in `faults`; null clears only the description.
  void setErrorDescription(std::optional<std::string> text);
  // For a response, the request that it answers; null otherwise.
  const std::shared_ptr<QVIPMessage>& request() const { return request_; }
  void setRequest(std::shared_ptr<QVIPMessage> request) { request_ = std::move(request); }

  // Every text that the message ever set, in order, with what it concerns, and the texts that gave
  // way to an earlier one. A fault that repeats the one before it is not kept again, nor is any
  // after the first 10,000.
  static constexpr std::size_t kMaximumFaults = 10'000;
  const std::vector<QVMessageFault>& faults() const { return faults_; }

  // Where the value at a JSON Pointer stands in a JSON body; null when there is none.
  std::optional<ByteRange> bodyRangeOfJSONPointer(std::string_view pointer) const;
  // The keys of a JSON body that one object gives more than once, of which the last value counts;
  // in the order of the body, at most 10,000.
  std::vector<JSONKeyPlace> repeatedJSONKeys() const;

  // The status codes that a response of this class may carry.
  virtual std::span<const char* const> allowedHTTPResponseCodes() const;

 protected:
  QVIPMessage() = default;

  // Stores the HTTP message; request classes then decode their payload.
  virtual void initWithHTTPMessage(std::shared_ptr<QVHTTPMessage> httpMessage);
  // Stores both and validates the response; response classes then decode their payload.
  virtual void initWithRequest(std::shared_ptr<QVIPMessage> request,
                               std::shared_ptr<QVHTTPMessage> httpMessage);
  // The checks that every response undergoes.
  void performValidation();
  // Marks the message as faulty when its decoded payload is absent or faulty and no text is set
  // yet. Every fault of the payload is kept.
  void checkObjectForError(const QVIPJSONObject* object);
  // What a payload is decoded from, for showing it; null when nothing is.
  virtual std::optional<Value> payloadValue() const { return std::nullopt; }
  // The body as JSON, whatever its content type; parsed once while the message is built, however
  // many rules look at it. Neither a value nor an error when there is no body.
  const JSONParseResult& parsedBody();
  // Sets a fault and answers false unless the message carries exactly this content type.
  bool checkContentType(std::string_view expected);

  // Sets the error description and keeps the fault.
  void setFault(QVMessageFault fault);
  // The HTTP message, or an empty one when a host took it away.
  const QVHTTPMessage& httpMessageOrEmpty() const;
  // Keeps the fault, for a text that yields to the error description already set.
  void keepFault(QVMessageFault fault);

 private:
  // The steps of the validation; one that answers false ends it.
  void checkStatusCode();
  void checkNoContent();
  bool readJSONBody(std::optional<Value>& dictionary);
  bool checkMultiStatus(const std::optional<Value>& dictionary);
  void checkInternalServerError(const std::optional<Value>& dictionary);

  // Ends the construction: finds the bytes of faults that name them by JSON Pointer, and drops the
  // parsed body.
  void finish();

  std::shared_ptr<QVHTTPMessage> httpMessage_;
  std::optional<std::string> errorDescription_;
  std::shared_ptr<QVIPMessage> request_;
  std::vector<QVMessageFault> faults_;
  JSONLimits limits_;
  std::optional<JSONParseResult> parsedBody_;
  bool isBeingBuilt_ = false;
  bool hasRepeatedKeys_ = false;
};

}  // namespace qv
