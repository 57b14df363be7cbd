#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/capture_reader.h"
#include "qvparsersupport/ipmessages/ip_message.h"
#include "tools/qvcheck/message_reader.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// Turns the messages of one connection, in report order, into records and findings.
class MessageChecker {
 public:
  // `partName` names the numbered parts of the input, if it has any.
  MessageChecker(Report& report, std::size_t connection, const InputRecord& requests,
                 const InputRecord& responses, std::string_view partName = {})
      : report_(report),
        connection_(connection),
        requests_(requests),
        responses_(responses),
        partName_(partName),
        reader_(connection) {}

  void check(const capture::ExchangeRecord& record);
  // A note about the connection.
  void take(capture::InputNoteKind note);
  // For a connection that was read to its end: notes the requests without a response.
  void finish();

 private:
  struct SentRequest {
    std::size_t message = 0;
    std::size_t offset = 0;
    std::string method;
    std::string url;
  };

  void followExchange(const capture::ExchangeRecord& record, const MessageRecord& message);
  void closeRequests(std::uint64_t before);
  void reportDamage(const capture::Damage& damage, capture::Direction direction,
                    const InputRecord& input);
  void reportGap(const capture::Gap& gap, const capture::ExchangeRecord& record,
                 const InputRecord& input);
  void reportMessage(const capture::ExchangeRecord& record, const capture::FramedMessage& message,
                     const InputRecord& input);
  // Notes, once for each reason, that what a response answers is not known.
  void reportUnpaired(const capture::ExchangeRecord& record, const MessageRecord& message,
                      const InputRecord& input);
  void reportFinding(Finding finding, std::optional<std::size_t> message, const InputRecord& input);

  Report& report_;
  std::size_t connection_;
  const InputRecord& requests_;
  const InputRecord& responses_;
  std::string_view partName_;
  MessageReader reader_;
  std::vector<std::string_view> unpairedReasons_;  // those that were noted
  std::map<std::uint64_t, SentRequest> open_;      // no response to them was seen yet
  std::optional<SentRequest> firstUnanswered_;
  std::size_t unanswered_ = 0;
  bool pairingUncertain_ = false;
};

}  // namespace qv::check
