#include "tools/qvcheck/message_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

#include "capture/http/early_end.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/ipmessages/json_message.h"
#include "qvparsersupport/ipmessages/tlv8_message.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/finding_builder.h"
#include "tools/qvcheck/json_view.h"
#include "tools/qvcheck/report_texts.h"
#include "tools/qvcheck/rule_selection.h"
#include "tools/qvcheck/tlv8_view.h"

namespace qv::check {

namespace {

constexpr std::size_t kMostRows = 16;
constexpr std::size_t kMostFields = 200;
constexpr std::size_t kMostIDs = 200;
constexpr std::size_t kWidestName = 24;

class Shower {
 public:
  Shower(ViewPage& page, const ReadMessage& read, const capture::FramedMessage& message,
         const AttributeNames& names)
      : page_(page), read_(read), message_(message), names_(names) {
    if (read.typed != nullptr) faults_ = tellingFaults(*read.typed);
  }

  void show() {
    page_.line(0, page_.ink(Shade::bold, headingOf(read_.record)));
    if (const std::string remark = remarkText(); !remark.empty()) {
      page_.line(1, page_.ink(Shade::yellow, remark));
    }
    showHeader();
    showIDs();
    if (message_.body) showBody(*message_.body);
  }

 private:
  // Why the library says nothing of it.
  std::string remarkText() const {
    if (const auto early = capture::earlyEndOf(message_)) return early->text;
    if (!message_.complete()) return capture::completenessText(message_.completeness);
    if (read_.record.verdict == Verdict::unrecognised) return "no message class recognises it";
    if (read_.record.verdict == Verdict::notJudged) return "not decoded: " + read_.record.reason;
    return {};
  }

  // The texts of the faults that are in this part of the message and chosen.
  template <class Choice>
  std::string marks(QVMessagePart part, const Choice& isChosen) const {
    std::string marks;
    for (const QVMessageFault* fault : faults_) {
      if (fault->part != part || !isChosen(*fault)) continue;
      marks += "  " + faultMark(page_.ink, fault->text);
    }
    return marks;
  }

  void showHeader() {
    const auto all = [](const QVMessageFault&) { return true; };
    const ByteRange first = read_.http->startLineRange();
    const std::string_view header = textOf(message_.header);
    page_.line(1, escapedShort(header.substr(first.offset, first.length)) +
                      marks(QVMessagePart::startLine, all));
    const auto& fields = read_.http->headerFields();
    if (!fields) {
      page_.bytes(1, ByteView(message_.header).subspan(first.length),
                  message_.headerOffset + first.length, kMostRows);
      return;
    }
    const std::size_t shown = std::min(fields->size(), kMostFields);
    std::size_t width = 0;
    for (std::size_t i = 0; i < shown; ++i) width = std::max(width, (*fields)[i].name.size() + 1);
    width = std::min(width, kWidestName);
    for (std::size_t i = 0; i < shown; ++i) {
      const auto [name, value] = (*fields)[i];
      const ByteRange range = fields->rangeOf(i);
      const auto isHere = [&](const QVMessageFault& fault) {
        return fault.range && fault.range->offset >= range.offset &&
               fault.range->offset < range.offset + std::max<std::size_t>(range.length, 1);
      };
      page_.line(1, fmt::format("{:<{}}  {}{}", escapedShort(name) + ":", width,
                                escapedShort(value), marks(QVMessagePart::header, isHere)));
    }
    if (shown < fields->size()) {
      page_.line(1, fmt::format("... and {}", counted(fields->size() - shown, "more field")));
    }
    const auto isNowhere = [](const QVMessageFault& fault) { return !fault.range; };
    if (const auto text = marks(QVMessagePart::header, isNowhere); !text.empty()) {
      page_.line(1, std::string_view(text).substr(2));
    }
  }

  // The characteristics that a read asks for, where they have names.
  void showIDs() {
    const auto* request =
        dynamic_cast<const QVIPMultipleCharacteristicReadRequestMessage*>(read_.typed.get());
    if (request == nullptr || !request->characteristicReadURLComponents()) return;
    const auto& ids = *request->characteristicReadURLComponents();
    page_.line(1, fmt::format("asks for {}", counted(ids.size(), "characteristic")));
    for (std::size_t i = 0; i < std::min(ids.size(), kMostIDs); ++i) {
      const auto& [aid, iid] = ids[i];
      const KnownCharacteristic* known = names_.find(aid, iid);
      const std::string id = fmt::format("{}.{}", escapedShort(aid), escapedShort(iid));
      page_.line(
          2, page_.ink(Shade::bold, fmt::format("{:<6}  {}", id,
                                                known == nullptr ? "?" : escaped(known->name))));
    }
    if (ids.size() > kMostIDs) {
      page_.line(2, fmt::format("... and {} more", ids.size() - kMostIDs));
    }
  }

  void showBodyLine(std::string_view form) {
    const auto isWhole = [](const QVMessageFault& fault) {
      const bool isInTree =
          fault.jsonPointer && !namesRule("http", fault.rule) && fault.rule != "json.status";
      return !isInTree && fault.tlv8Path.empty() && fault.rule != "tlv8.length";
    };
    std::string line = fmt::format("body, {}", counted(message_.body->size(), "byte"));
    if (!form.empty()) line += fmt::format(" of {}", form);
    page_.line(1, line + marks(QVMessagePart::body, isWhole));
  }

  void showBody(const Bytes& body) {
    if (const auto* pairing = dynamic_cast<QVIPTLV8PayloadMessage*>(read_.typed.get())) {
      const auto definition = pairing->tlv8Definition();
      const auto packet = pairing->cachedTLV8Packet() != nullptr ? pairing->cachedTLV8Packet()
                                                                 : QVTLV8Packet::initWithData(body);
      showBodyLine(definition == nullptr ? "TLV8"
                                         : fmt::format("TLV8, structure {}",
                                                       escaped(definition->name().value_or("?"))));
      showTLV8(page_, 2, *packet, definition.get(), pairing->faults());
      return;
    }
    if (const std::optional<Value> value = jsonValue(body)) {
      const auto* json = dynamic_cast<const QVIPJSONPayloadMessage*>(read_.typed.get());
      const bool isRead = json != nullptr && json->cachedJSONPayload();
      const auto object = isRead ? json->payloadObject() : nullptr;
      std::string form = "JSON";
      if (object != nullptr && object->errorDescription()) {
        form += "  " + faultMark(page_.ink, *object->errorDescription());
      }
      showBodyLine(form);
      showJSON(page_, 2, *value, object, names_);
      return;
    }
    showBodyLine("");
    page_.bytes(2, body, message_.streamOffsetOf(0), kMostRows);
  }

  // The body as JSON, whether or not it may be; null when it is none.
  std::optional<Value> jsonValue(const Bytes& body) const {
    const auto* json = dynamic_cast<const QVIPJSONPayloadMessage*>(read_.typed.get());
    if (json != nullptr && json->cachedJSONPayload()) return json->cachedJSONPayload();
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::string_view text = textOf(body);
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos || (text[first] != '{' && text[first] != '[')) {
      return std::nullopt;
    }
    return parseJSON(body).value;
  }

  ViewPage& page_;
  const ReadMessage& read_;
  const capture::FramedMessage& message_;
  const AttributeNames& names_;
  std::vector<const QVMessageFault*> faults_;
};

}  // namespace

void showMessage(ViewPage& page, const ReadMessage& read, const capture::FramedMessage& message,
                 const AttributeNames& names) {
  page.begin();
  Shower(page, read, message, names).show();
}

}  // namespace qv::check
