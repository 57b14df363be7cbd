#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "capture/http/exchange_pairing.h"
#include "qvparsersupport/ipmessages/ip_message.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// As records have it: "to_accessory", "to_controller".
std::string_view nameOf(capture::Direction direction);

struct ReadMessage {
  MessageRecord record;
  std::shared_ptr<QVHTTPMessage> http;  // of an untyped message without the body
  std::shared_ptr<QVIPMessage> typed;   // null when it is not judged or no class recognises it
};

// Hands the messages of one connection, in report order, to the library, asks pairing messages for
// their body, and says of every other message why it is not judged.
class MessageReader {
 public:
  explicit MessageReader(std::size_t connection) : connection_(connection) {}

  // `message` is that of the record.
  ReadMessage read(const capture::ExchangeRecord& record, const capture::FramedMessage& message,
                   std::size_t number, const std::string& inputName);
  // No response to a request so far is to come.
  void forgetRequests() { open_.clear(); }

 private:
  // A request whose response may come.
  struct OpenRequest {
    std::size_t message = 0;
    std::string method;
    std::string url;
    bool judged = false;
    std::shared_ptr<QVIPMessage> typed;  // null when no class recognises it
  };

  std::shared_ptr<QVIPMessage> classify(const capture::ExchangeRecord& record,
                                        const capture::FramedMessage& message,
                                        const OpenRequest* request, MessageRecord& out);

  std::size_t connection_;
  std::map<std::uint64_t, OpenRequest> open_;  // by their index
};

}  // namespace qv::check
