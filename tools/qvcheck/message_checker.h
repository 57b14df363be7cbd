#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/exchange_pairing.h"
#include "qvparsersupport/ipmessages/ip_message.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// Turns the messages of one connection, in report order, into records and findings: hands each
// message to the library, asks pairing messages for their body, and says of every other message why
// it was not judged.
class MessageChecker {
 public:
  MessageChecker(Report& report, std::size_t connection, InputRecord& requests,
                 InputRecord& responses)
      : report_(report), connection_(connection), requests_(requests), responses_(responses) {}

  void check(const capture::ExchangeRecord& record);

 private:
  // The request whose response is to come.
  struct OpenRequest {
    std::uint64_t index = 0;
    std::size_t message = 0;
    std::string method;
    std::string url;
    bool judged = false;
    std::shared_ptr<QVIPMessage> typed;  // null when no class recognises it
  };

  void reportDamage(const capture::Damage& damage, InputRecord& input);
  void reportMessage(const capture::ExchangeRecord& record, const capture::FramedMessage& message,
                     InputRecord& input);
  std::shared_ptr<QVIPMessage> classify(const capture::ExchangeRecord& record,
                                        const capture::FramedMessage& message, MessageRecord& out);
  // Notes, once for each reason, that what a response answers is not known.
  void reportUnpaired(const capture::ExchangeRecord& record, const MessageRecord& message,
                      const InputRecord& input);
  void reportFinding(Finding finding, std::optional<std::size_t> message, const InputRecord& input);

  Report& report_;
  std::size_t connection_;
  InputRecord& requests_;
  InputRecord& responses_;
  std::optional<OpenRequest> open_;
  std::vector<std::string_view> unpairedReasons_;  // those that were noted
};

}  // namespace qv::check
