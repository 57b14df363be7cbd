#include "tools/qvcheck/message_checker.h"

#include <fmt/format.h>

#include <algorithm>

#include "qvparsersupport/ipmessages/tlv8_message.h"
#include "tools/qvcheck/finding_builder.h"
#include "tools/qvcheck/nearest_class.h"

namespace qv::check {

namespace {

using capture::Completeness;
using capture::Direction;
using capture::FramedMessage;
using capture::MessageKind;

std::string_view kindName(MessageKind kind) {
  switch (kind) {
    case MessageKind::request:
      return "request";
    case MessageKind::response:
    case MessageKind::informational:
      return "response";
    case MessageKind::event:
      return "event";
    case MessageKind::unknown:
      break;
  }
  return "unknown";
}

std::string_view directionName(Direction direction) {
  return direction == Direction::toAccessory ? "to_accessory" : "to_controller";
}

std::optional<ByteView> bodyOf(const FramedMessage& message) {
  if (!message.body) return std::nullopt;
  return ByteView(*message.body);
}

// The record as far as the bytes alone tell it.
MessageRecord recordOf(const FramedMessage& message, const QVHTTPMessage& http) {
  MessageRecord record;
  record.direction = directionName(message.direction);
  record.kind = kindName(message.kind);
  record.offset = message.headerOffset;
  record.headerLength = message.header.size();
  record.bodyLength = message.body ? message.body->size() : 0;
  record.contentType = http.contentType();
  if (message.direction == Direction::toAccessory) {
    record.method = http.requestMethod().value_or("");
    record.url = http.requestURL().value_or("");
  } else {
    record.code = http.responseCode();
  }
  return record;
}

void leaveUnjudged(MessageRecord& record, std::string reason) {
  record.verdict = Verdict::notJudged;
  record.reason = std::move(reason);
}

}  // namespace

void MessageChecker::check(const capture::ExchangeRecord& record) {
  InputRecord& input = record.direction == Direction::toAccessory ? requests_ : responses_;
  if (const capture::Damage* damage = record.damage()) {
    reportDamage(*damage, input);
  } else {
    reportMessage(record, *record.message(), input);
  }
}

void MessageChecker::reportDamage(const capture::Damage& damage, InputRecord& input) {
  if (damage.kind == capture::DamageKind::emptyLines) return;
  input.fidelity = "damaged";
  const bool requests = &input == &requests_;
  report_.gap(
      {connection_, requests ? "to_accessory" : "to_controller", damage.offset, damage.length});
  Finding finding =
      remark("input.damaged", Severity::warning, damage.text, damage.offset, damage.length);
  if (damage.mayHideMessages) {
    finding.hint =
        "a message may be lost here, so later responses of this connection are not judged";
  }
  reportFinding(std::move(finding), std::nullopt, input);
}

void MessageChecker::reportMessage(const capture::ExchangeRecord& record,
                                   const FramedMessage& message, InputRecord& input) {
  const auto http = QVHTTPMessage::initWithHeader(message.header, std::nullopt);
  MessageRecord out = recordOf(message, *http);
  out.message = report_.nextMessage();
  out.connection = connection_;
  out.inputName = input.name;
  if (record.answers && open_ && open_->index == *record.answers) {
    out.answers = open_->message;
    out.method = open_->method;
    out.url = open_->url;
  }
  const std::shared_ptr<QVIPMessage> typed = classify(record, message, out);
  if (typed != nullptr) {
    if (auto* pairing = dynamic_cast<QVIPTLV8PayloadMessage*>(typed.get())) pairing->tlv8Payload();
    out.className = typed->className();
    out.errorDescription = typed->errorDescription();
    out.verdict = typed->faults().empty() ? Verdict::ok : Verdict::faulty;
  }
  if (record.direction == Direction::toAccessory) {
    open_ = OpenRequest{record.requestIndex.value_or(0),
                        out.message,
                        out.method,
                        out.url,
                        message.complete(),
                        typed};
  }
  report_.message(out);

  if (out.verdict == Verdict::unrecognised && record.direction == Direction::toAccessory) {
    Finding finding =
        remark("class.unrecognised", Severity::note, "no message class recognises this request",
               message.headerOffset, http->startLineRange().length);
    finding.location.part = "start_line";
    finding.hint = nearestClass(http->requestMethod(), http->requestURL());
    reportFinding(std::move(finding), out.message, input);
  }
  if (message.complete() && message.kind == MessageKind::response) {
    reportUnpaired(record, out, input);
  }
  if (!message.complete()) {
    const bool cut = message.completeness == Completeness::headerCut ||
                     message.completeness == Completeness::bodyCut;
    if (cut) {
      input.complete = false;
      reportFinding(remark("input.incomplete", Severity::note,
                           capture::completenessText(message.completeness), message.endOffset, 0),
                    out.message, input);
    }
  }
  if (typed != nullptr) {
    for (const QVMessageFault& fault : typed->faults()) {
      reportFinding(findingForFault(fault, message), out.message, input);
    }
  }
  for (const capture::FramingNote& note : message.notes) {
    if (std::optional<Finding> finding = findingForNote(note, message)) {
      reportFinding(std::move(*finding), out.message, input);
    }
  }
}

std::shared_ptr<QVIPMessage> MessageChecker::classify(const capture::ExchangeRecord& record,
                                                      const FramedMessage& message,
                                                      MessageRecord& out) {
  if (!message.complete()) {
    leaveUnjudged(out, message.completeness == Completeness::tooLarge ? "too large" : "incomplete");
    return nullptr;
  }
  if (message.kind == MessageKind::informational) {
    leaveUnjudged(out, "informational");
    return nullptr;
  }
  std::shared_ptr<QVIPMessage> typed;
  if (record.direction == Direction::toAccessory) {
    typed = QVIPMessage::requestMessageForHeader(message.header, bodyOf(message));
  } else if (message.kind == MessageKind::event) {
    typed = QVIPMessage::responseMessageForRequest(nullptr, message.header, bodyOf(message));
  } else if (!record.answers || !open_ || open_->index != *record.answers) {
    leaveUnjudged(out, record.pairingUncertain ? "pairing uncertain" : "no request");
    return nullptr;
  } else if (!open_->judged) {
    leaveUnjudged(out, "request incomplete");
    return nullptr;
  } else if (open_->typed != nullptr) {
    typed = QVIPMessage::responseMessageForRequest(open_->typed, message.header, bodyOf(message));
  }
  if (typed == nullptr) out.verdict = Verdict::unrecognised;
  return typed;
}

void MessageChecker::reportUnpaired(const capture::ExchangeRecord& record,
                                    const MessageRecord& message, const InputRecord& input) {
  const std::string_view reason = record.unpairedReason;
  if (reason.empty() || std::ranges::find(unpairedReasons_, reason) != unpairedReasons_.end()) {
    return;
  }
  unpairedReasons_.push_back(reason);
  Finding finding = remark("input.unpaired", Severity::note,
                           fmt::format("not judged, because {}", reason), message.offset, 0);
  finding.hint = "further responses that are left out for this reason are only counted";
  reportFinding(std::move(finding), message.message, input);
}

void MessageChecker::reportFinding(Finding finding, std::optional<std::size_t> message,
                                   const InputRecord& input) {
  finding.finding = report_.nextFinding();
  finding.message = message;
  finding.location.input = input.input;
  finding.location.name = input.name;
  report_.finding(finding);
}

}  // namespace qv::check
