#include "tools/qvcheck/message_checker.h"

#include <fmt/format.h>

#include <algorithm>

#include "capture/http/ascii_case.h"
#include "capture/http/early_end.h"
#include "tools/qvcheck/finding_builder.h"
#include "tools/qvcheck/key_findings.h"
#include "tools/qvcheck/nearest_class.h"
#include "tools/qvcheck/report_texts.h"

namespace qv::check {

namespace {

using capture::CutKind;
using capture::Direction;
using capture::FramedMessage;
using capture::MessageKind;

constexpr std::string_view kSwapped =
    "this looks like the other direction; are --request and --response swapped?";

bool beginsLikeResponse(ByteView head) {
  const std::string_view text = textOf(head);
  return text.starts_with("HTTP/1.") || text.starts_with("EVENT/");
}

// A method and, after one blank, the slash that a target begins with.
bool beginsLikeRequest(ByteView head) {
  const std::string_view text = textOf(head);
  const std::size_t method = text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
  return method != std::string_view::npos && method > 0 && text.substr(method).starts_with(" /");
}

bool isCut(const FramedMessage& message) {
  return capture::cutKindOf(message.completeness) != CutKind::none;
}

// What is wrong, or worth a note, where the message is cut.
std::optional<Finding> findingForCut(const FramedMessage& message) {
  const std::uint64_t end = message.endOffset;
  const char* text = capture::completenessText(message.completeness);
  switch (capture::cutKindOf(message.completeness)) {
    case CutKind::byCapture:
      return remark("input.incomplete", Severity::note, text, end, 0);
    case CutKind::byReset:
      return remark("http.reset", Severity::note, text, end, 0);
    case CutKind::byClose:
      break;
    default:
      return std::nullopt;
  }
  const auto early = *capture::earlyEndOf(message);
  Finding finding = remark("http.closed-early", Severity::error, early.text, end, 0);
  finding.expected = early.expected;
  finding.actual = early.actual;
  return finding;
}

// What the header says of the body's length, where that is not its length; null where it is.
std::optional<std::string> otherLengthToldBy(const QVHTTPMessage& http, std::size_t length) {
  const std::optional<QVHTTPHeaderFields>& fields = http.headerFields();
  for (std::size_t i = 0; fields && i < fields->size(); ++i) {
    const auto [name, value] = (*fields)[i];
    if (capture::equalsIgnoringCase(name, "Content-Length") && value != std::to_string(length)) {
      return fmt::format("{}: {}", name, value);
    }
  }
  return std::nullopt;
}

Finding findingForDamagedBody(const FramedMessage& message, const QVHTTPMessage& http) {
  Finding finding = remark("input.body", Severity::note,
                           capture::completenessText(message.completeness), message.bodyOffset, 0);
  finding.location.part = "body";
  const std::size_t length = message.body ? message.body->size() : 0;
  if (const auto told = otherLengthToldBy(http, length)) {
    finding.expected = *told;
    finding.actual = message.body ? counted(length, "byte") : "no body";
  }
  return finding;
}

std::string shortened(const std::string& url) {
  constexpr std::size_t kLongest = 80;
  return url.size() <= kLongest ? url : url.substr(0, kLongest) + "...";
}

}  // namespace

void MessageChecker::check(const capture::ExchangeRecord& record) {
  const InputRecord& input = record.direction == Direction::toAccessory ? requests_ : responses_;
  if (const capture::Gap* gap = record.gap()) {
    pairingUncertain_ = pairingUncertain_ || gap->mayHideMessages;
    reportGap(*gap, record, input);
  } else if (const capture::Damage* damage = record.damage()) {
    pairingUncertain_ = pairingUncertain_ || damage->mayHideMessages;
    reportDamage(*damage, record.direction, input);
  } else {
    pairingUncertain_ = pairingUncertain_ || record.pairingUncertain || !record.message()->endKnown;
    reportMessage(record, *record.message(), input);
  }
}

void MessageChecker::take(capture::InputNoteKind note) {
  const bool givenUp = note == capture::InputNoteKind::unfinishedGivenUp;
  // Responses may be in what was given up.
  if (givenUp || note == capture::InputNoteKind::reassemblyLimit) pairingUncertain_ = true;
  if (!givenUp) return;
  open_.clear();
  reader_.forgetRequests();
}

void MessageChecker::finish() {
  closeRequests(UINT64_MAX);
  if (unanswered_ == 0 || pairingUncertain_) return;
  const SentRequest& first = *firstUnanswered_;
  const std::string target = first.method + " " + shortened(first.url);
  Finding finding = remark("input.unanswered", Severity::note,
                           unansweredText(unanswered_, first.message, target), first.offset, 0);
  reportFinding(std::move(finding), std::nullopt, requests_);
}

// Of a request that is cut off itself no response is expected.
void MessageChecker::followExchange(const capture::ExchangeRecord& record,
                                    const MessageRecord& message) {
  const FramedMessage& framed = *record.message();
  if (record.requestIndex && !isCut(framed)) {
    open_[*record.requestIndex] = {message.message, message.offset, message.method, message.url};
  } else if (record.answers && framed.kind == MessageKind::response) {
    open_.erase(*record.answers);
  }
  closeRequests(record.oldestOpenRequest);
}

void MessageChecker::closeRequests(std::uint64_t before) {
  while (!open_.empty() && open_.begin()->first < before) {
    if (unanswered_++ == 0) firstUnanswered_ = std::move(open_.begin()->second);
    open_.erase(open_.begin());
  }
}

void MessageChecker::reportGap(const capture::Gap& gap, const capture::ExchangeRecord& record,
                               const InputRecord& input) {
  report_.gap({connection_, nameOf(record.direction), gap.offset, gap.length});
  const bool toAccessory = record.direction == Direction::toAccessory;
  // Packets have no place for what is missing: only later ones show that it does not come.
  const std::string_view part = partName_ == "packet" ? "noticed at packet" : partName_;
  Finding finding = remark(
      "input.gap", Severity::warning,
      fmt::format("{} to the {} {} missing from the capture ({})", counted(gap.length, "byte"),
                  toAccessory ? "accessory" : "controller", gap.length == 1 ? "is" : "are",
                  placeText(connection_, part, record.place.number)),
      gap.offset, gap.length);
  reportFinding(std::move(finding), std::nullopt, input);
}

void MessageChecker::reportDamage(const capture::Damage& damage, Direction direction,
                                  const InputRecord& input) {
  if (damage.kind == capture::DamageKind::emptyLines) return;
  if (capture::isRest(damage.kind)) {
    const char* rule = damage.kind == capture::DamageKind::behindGap ? "input.gap" : "input.limit";
    reportFinding(remark(rule, Severity::note, damage.text, damage.offset, damage.length),
                  std::nullopt, input);
    return;
  }
  const bool requests = direction == Direction::toAccessory;
  report_.gap({connection_, nameOf(direction), damage.offset, damage.length});
  Finding finding =
      remark("input.damaged", Severity::warning, damage.text, damage.offset, damage.length);
  if (damage.mayHideMessages) {
    finding.hint =
        "a message may be lost here, so later responses of this connection are not judged";
  }
  if (damage.offset == 0 &&
      (requests ? beginsLikeResponse(input.head) : beginsLikeRequest(input.head))) {
    finding.hint = kSwapped;
  }
  reportFinding(std::move(finding), std::nullopt, input);
}

void MessageChecker::reportMessage(const capture::ExchangeRecord& record,
                                   const FramedMessage& message, const InputRecord& input) {
  ReadMessage read = reader_.read(record, message, report_.nextMessage(), input.name);
  MessageRecord& out = read.record;
  out.part = record.place.number;
  out.partName = partName_;
  std::vector<const QVMessageFault*> faults;
  if (read.typed != nullptr) {
    faults = tellingFaults(*read.typed);
    const bool faulty = std::ranges::any_of(
        faults, [&](const QVMessageFault* fault) { return report_.keeps(fault->rule); });
    out.verdict = faulty ? Verdict::faulty : Verdict::ok;
  }
  report_.message(out);
  followExchange(record, out);

  if (out.verdict == Verdict::unrecognised && record.direction == Direction::toAccessory) {
    Finding finding =
        remark("class.unrecognised", Severity::note, "no message class recognises this request",
               message.headerOffset, read.http->startLineRange().length);
    finding.location.part = "start_line";
    finding.hint = nearestClass(read.http->requestMethod(), read.http->requestURL());
    reportFinding(std::move(finding), out.message, input);
  }
  if (message.complete() && message.kind == MessageKind::response) {
    reportUnpaired(record, out, input);
  }
  if (std::optional<Finding> cut = findingForCut(message)) {
    reportFinding(std::move(*cut), out.message, input);
  }
  if (message.completeness == capture::Completeness::bodyDamaged) {
    reportFinding(findingForDamagedBody(message, *read.http), out.message, input);
  }
  for (const QVMessageFault* fault : faults) {
    reportFinding(findingForFault(*fault, message), out.message, input);
  }
  if (read.typed != nullptr) {
    findKeys(*read.typed, message,
             [&](Finding finding) { reportFinding(std::move(finding), out.message, input); });
  }
  for (const capture::FramingNote& note : message.notes) {
    if (std::optional<Finding> finding = findingForNote(note, message)) {
      reportFinding(std::move(*finding), out.message, input);
    }
  }
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
