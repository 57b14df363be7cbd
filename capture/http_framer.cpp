#include "capture/http_framer.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "capture/chunked_reader.h"
#include "capture/framing_fields.h"
#include "capture/framing_notes.h"
#include "capture/header_scan.h"
#include "capture/start_line.h"
#include "capture/stream_window.h"

namespace qv::capture {
namespace {

// How many line ends after a 204 are looked past for a stray body.
constexpr std::size_t kLineEndsBeforeStrayBody = 64;
// Enough to recognise a TLS record by.
constexpr std::size_t kDamagePeek = 3;

bool isLineEnd(std::uint8_t byte) {
  return byte == '\r' || byte == '\n';
}

bool holdsLineEnd(ByteView bytes) {
  return std::any_of(bytes.begin(), bytes.end(), isLineEnd);
}

// A record header: a content type from 20 to 23, then version 3.0 to 3.4.
bool looksLikeTLS(ByteView bytes) {
  return bytes.size() >= kDamagePeek && bytes[0] >= 20 && bytes[0] <= 23 && bytes[1] == 3 &&
         bytes[2] <= 4;
}

std::string damageText(DamageKind kind, std::uint64_t length) {
  const char* plural = length == 1 ? "" : "s";
  switch (kind) {
    case DamageKind::noMessage:
      return fmt::format("{} byte{} that begin{} no message", length, plural,
                         length == 1 ? "s" : "");
    case DamageKind::looksLikeTLS:
      return fmt::format("{} byte{} that look{} like TLS", length, plural, length == 1 ? "s" : "");
    case DamageKind::emptyLines:
      return fmt::format("{} byte{} of empty lines after the last message", length, plural);
  }
  return {};
}

MessageKind kindOf(Direction direction, ByteView header) {
  if (direction == Direction::toAccessory) return MessageKind::request;
  const std::string_view text = textOf(header);
  if (text.starts_with("EVENT/")) return MessageKind::event;
  if (!text.starts_with("HTTP/")) return MessageKind::unknown;
  const int status = statusCodeOf(header);
  return status >= 100 && status < 200 ? MessageKind::informational : MessageKind::response;
}

}  // namespace

class HTTPFramer::Impl {
 public:
  Impl(Direction direction, FramingLimits limits)
      : direction_(direction), limits_(limits), search_(direction) {}

  Direction direction() const { return direction_; }
  void feed(ByteView bytes) {
    if (!finished_) window_.append(bytes);
  }
  void finish() { finished_ = true; }

  std::optional<StreamItem> next() {
    for (;;) {
      switch (step()) {
        case Progress::again:
          break;
        case Progress::needsInput:
          return std::nullopt;
        case Progress::delivers:
          return std::exchange(item_, std::nullopt);
      }
    }
  }

  std::size_t bufferedBytes() const {
    const std::size_t body = message_.body ? message_.body->capacity() : 0;
    return window_.capacity() + message_.header.capacity() + body +
           message_.segments.capacity() * sizeof(BodySegment);
  }

 private:
  enum class Progress : std::uint8_t { again, needsInput, delivers };
  enum class State : std::uint8_t {
    betweenMessages,
    damage,
    header,
    announcedBody,   // of a message that should have none: is it there?
    afterNoContent,  // does something stray after a 204?
    contentLengthBody,
    chunkedBody,
    untilCloseBody,
    strayBody,
  };

  Progress step() {
    switch (state_) {
      case State::betweenMessages:
        return betweenMessages();
      case State::damage:
        return skipDamage();
      case State::header:
        return readHeader();
      case State::announcedBody:
        return lookForAnnouncedBody();
      case State::afterNoContent:
        return lookForStrayBody();
      case State::contentLengthBody:
        return readContentLengthBody();
      case State::chunkedBody:
        return readChunkedBody();
      case State::untilCloseBody:
        return readUntilClose();
      case State::strayBody:
        return readStrayBody();
    }
    return Progress::needsInput;
  }

  Progress proceed(State state) {
    state_ = state;
    return Progress::again;
  }

  // Between messages: empty lines, a start line, or damage.
  Progress betweenMessages();
  Progress enterDamage();
  Progress skipDamage();
  Progress deliverDamage(DamageKind kind);

  // A message, in the order in which its parts are read.
  Progress beginMessage();
  Progress readHeader();
  Progress chooseBody(const FramingFields& fields);
  Progress chooseBodyOfBodiless(int status, const FramingFields& fields);
  Progress lookForAnnouncedBody();
  Progress lookForStrayBody();
  Progress readContentLengthBody();
  Progress readChunkedBody();
  Progress readUntilClose();
  Progress readStrayBody();
  Progress deliverMessage();
  Progress deliverCut(Completeness completeness);
  Progress deliverWithUnknownEnd(Completeness completeness);

  void keepBody(std::size_t count) {
    BodyBuilder(message_, limits_.messageBytes).keep(window_.view().first(count), window_.offset());
    window_.consume(count);
  }
  void note(FramingNoteKind kind, std::string_view text, std::uint64_t offset,
            std::uint64_t length) {
    addNote(message_.notes, kind, text, offset, length);
  }

  Direction direction_;
  FramingLimits limits_;
  StreamWindow window_;
  bool finished_ = false;
  State state_ = State::betweenMessages;
  std::uint64_t itemOffset_ = 0;  // where the item under construction begins
  std::optional<StreamItem> item_;

  StartLineSearch search_;
  std::optional<DamageKind> damageKind_;  // null until its first bytes were looked at
  bool damageMayHideMessages_ = false;

  FramedMessage message_;
  HeaderScan headerScan_;
  ChunkedReader chunks_;
  State announcedState_ = State::contentLengthBody;
  std::uint64_t remaining_ = 0;
};

HTTPFramer::Impl::Progress HTTPFramer::Impl::betweenMessages() {
  const ByteView bytes = window_.view();
  const auto first = std::find_if_not(bytes.begin(), bytes.end(), isLineEnd);
  window_.consume(static_cast<std::size_t>(first - bytes.begin()));
  if (window_.empty()) {
    if (!finished_ || window_.offset() == itemOffset_) return Progress::needsInput;
    return deliverDamage(DamageKind::emptyLines);
  }
  switch (startLineAt(direction_, window_.view())) {
    case StartLineCheck::yes:
      return beginMessage();
    case StartLineCheck::no:
      return enterDamage();
    case StartLineCheck::undecided:
      return finished_ ? beginMessage() : Progress::needsInput;
  }
  return Progress::needsInput;
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::enterDamage() {
  search_ = StartLineSearch(direction_);
  damageKind_.reset();
  damageMayHideMessages_ = false;
  return proceed(State::damage);
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::skipDamage() {
  if (!damageKind_) {
    if (window_.view().size() < kDamagePeek && !finished_) return Progress::needsInput;
    damageKind_ = looksLikeTLS(window_.view()) ? DamageKind::looksLikeTLS : DamageKind::noMessage;
  }
  const StartLineSearch::Result result = search_.advance(window_.view(), finished_);
  if (holdsLineEnd(window_.view().first(result.length))) damageMayHideMessages_ = true;
  window_.consume(result.length);
  if (!result.found && !finished_) return Progress::needsInput;
  if (window_.offset() == itemOffset_) return proceed(State::betweenMessages);
  return deliverDamage(*damageKind_);
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::deliverDamage(DamageKind kind) {
  const std::uint64_t length = window_.offset() - itemOffset_;
  const bool mayHide = kind != DamageKind::emptyLines && damageMayHideMessages_;
  item_ = Damage{kind, damageText(kind, length), itemOffset_, length, mayHide};
  itemOffset_ = window_.offset();
  state_ = State::betweenMessages;
  return Progress::delivers;
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::beginMessage() {
  message_ = FramedMessage();
  message_.direction = direction_;
  message_.beginOffset = itemOffset_;
  message_.headerOffset = window_.offset();
  if (itemOffset_ < window_.offset()) {
    note(FramingNoteKind::emptyLinesBeforeStartLine, "empty lines before the start line",
         itemOffset_, window_.offset() - itemOffset_);
  }
  headerScan_ = HeaderScan();
  return proceed(State::header);
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::readHeader() {
  const std::size_t limit =
      static_cast<std::size_t>(std::min<std::uint64_t>(limits_.messageBytes, SIZE_MAX));
  const ByteView bytes = window_.view().first(std::min(window_.view().size(), limit));
  const bool overLimit = bytes.size() < window_.view().size();
  const std::optional<HeaderEnd> end =
      headerScan_.advance(bytes, finished_ && !overLimit, message_);
  if (!end && !overLimit && !finished_) return Progress::needsInput;

  const ByteView header = end ? bytes.first(end->headerLength) : bytes;
  message_.header.assign(header.begin(), header.end());
  message_.kind = kindOf(direction_, header);
  window_.consume(end ? end->totalLength : bytes.size());
  message_.bodyOffset = window_.offset();
  if (end) return chooseBody(readFramingFields(message_));
  return overLimit ? deliverWithUnknownEnd(Completeness::tooLarge)
                   : deliverCut(Completeness::headerCut);
}

// RFC 9112, section 6.3.
HTTPFramer::Impl::Progress HTTPFramer::Impl::chooseBody(const FramingFields& fields) {
  remaining_ = fields.contentLength.value_or(0);
  chunks_ = ChunkedReader();
  const bool isRequest = direction_ == Direction::toAccessory;
  const int status = isRequest ? 0 : statusCodeOf(message_.header);
  if ((status >= 100 && status < 200) || status == 204 || status == 304) {
    return chooseBodyOfBodiless(status, fields);
  }
  if (fields.chunked) return proceed(State::chunkedBody);
  if (fields.unknownCoding && isRequest) {
    return deliverWithUnknownEnd(Completeness::lengthUnreadable);
  }
  if (fields.unknownCoding) return proceed(State::untilCloseBody);
  if (fields.contentLength) return proceed(State::contentLengthBody);
  if (fields.contentLengthUnreadable) return deliverWithUnknownEnd(Completeness::lengthUnreadable);
  return isRequest ? deliverMessage() : proceed(State::untilCloseBody);
}

// A body where none belongs is kept, so that it can be objected to.
HTTPFramer::Impl::Progress HTTPFramer::Impl::chooseBodyOfBodiless(int status,
                                                                  const FramingFields& fields) {
  if (fields.chunked || (remaining_ > 0 && !fields.unknownCoding)) {
    announcedState_ = fields.chunked ? State::chunkedBody : State::contentLengthBody;
    return proceed(State::announcedBody);
  }
  if (status == 204 && !fields.contentLength) return proceed(State::afterNoContent);
  return deliverMessage();
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::lookForAnnouncedBody() {
  switch (startLineAt(direction_, window_.view())) {
    case StartLineCheck::no:
      return proceed(announcedState_);
    case StartLineCheck::undecided:
      return finished_ ? proceed(announcedState_) : Progress::needsInput;
    case StartLineCheck::yes:
      break;
  }
  note(FramingNoteKind::announcedBodyMissing,
       "the header announces a body, but the next message follows at once", message_.headerOffset,
       message_.header.size());
  return deliverMessage();
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::lookForStrayBody() {
  const ByteView bytes = window_.view();
  const ByteView peek = bytes.first(std::min(bytes.size(), kLineEndsBeforeStrayBody + 1));
  const auto first = std::find_if_not(peek.begin(), peek.end(), isLineEnd);
  const auto lineEnds = static_cast<std::size_t>(first - peek.begin());
  if (lineEnds > kLineEndsBeforeStrayBody) return deliverMessage();
  const StartLineCheck check = startLineAt(direction_, bytes.subspan(lineEnds));
  if (check == StartLineCheck::no) {
    search_ = StartLineSearch(direction_);
    message_.framing = BodyFraming::strayAfter204;
    return proceed(State::strayBody);
  }
  if (check == StartLineCheck::yes || finished_) return deliverMessage();
  return Progress::needsInput;
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::readContentLengthBody() {
  message_.framing = BodyFraming::contentLength;
  const auto taken =
      static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, window_.view().size()));
  keepBody(taken);
  remaining_ -= taken;
  if (remaining_ == 0) return deliverMessage();
  return finished_ ? deliverCut(Completeness::bodyCut) : Progress::needsInput;
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::readChunkedBody() {
  message_.framing = BodyFraming::chunked;
  BodyBuilder body(message_, limits_.messageBytes);
  switch (chunks_.advance(window_, finished_, message_, body)) {
    case ChunkedReader::Progress::again:
      return Progress::again;
    case ChunkedReader::Progress::done:
      return deliverMessage();
    case ChunkedReader::Progress::unreadable:
      return deliverWithUnknownEnd(Completeness::chunkUnreadable);
    case ChunkedReader::Progress::needsInput:
      break;
  }
  return finished_ ? deliverCut(Completeness::bodyCut) : Progress::needsInput;
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::readUntilClose() {
  message_.framing = BodyFraming::untilClose;
  keepBody(window_.view().size());
  if (!finished_) return Progress::needsInput;
  const std::uint64_t length = window_.offset() - message_.bodyOffset;
  if (length > 0) {
    note(FramingNoteKind::bodyEndedByClose, "the body is ended by the close of the connection",
         message_.bodyOffset, length);
  }
  return deliverMessage();
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::readStrayBody() {
  const StartLineSearch::Result result = search_.advance(window_.view(), finished_);
  if (holdsLineEnd(window_.view().first(result.length))) message_.endKnown = false;
  keepBody(result.length);
  if (!result.found && !finished_) return Progress::needsInput;
  note(FramingNoteKind::strayBodyAfter204, "bytes that begin no message follow a 204",
       message_.bodyOffset, window_.offset() - message_.bodyOffset);
  return deliverMessage();
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::deliverMessage() {
  message_.endOffset = window_.offset();
  const bool endedByStream =
      message_.framing == BodyFraming::untilClose || message_.completeness == Completeness::bodyCut;
  if (message_.body && endedByStream) {
    const auto result = StartLineSearch(direction_).advance(*message_.body, true);
    if (result.found) {
      note(FramingNoteKind::startLineInBody, "the body holds what looks like another start line",
           message_.streamOffsetOf(result.length), 0);
    }
  }
  if (message_.completeness == Completeness::tooLarge) {
    note(FramingNoteKind::largerThanLimit,
         fmt::format("larger than the limit of {} bytes", limits_.messageBytes),
         message_.headerOffset, message_.endOffset - message_.headerOffset);
  }
  itemOffset_ = window_.offset();
  item_ = std::exchange(message_, FramedMessage());
  state_ = State::betweenMessages;
  return Progress::delivers;
}

// The stream ended inside the message.
HTTPFramer::Impl::Progress HTTPFramer::Impl::deliverCut(Completeness completeness) {
  window_.consume(window_.view().size());
  if (message_.complete()) message_.completeness = completeness;
  return deliverMessage();
}

// The next message has to be searched for.
HTTPFramer::Impl::Progress HTTPFramer::Impl::deliverWithUnknownEnd(Completeness completeness) {
  if (message_.complete()) message_.completeness = completeness;
  message_.endKnown = false;
  deliverMessage();
  enterDamage();
  return Progress::delivers;
}

HTTPFramer::HTTPFramer(Direction direction, FramingLimits limits)
    : impl_(std::make_unique<Impl>(direction, limits)) {}
HTTPFramer::HTTPFramer(HTTPFramer&&) noexcept = default;
HTTPFramer& HTTPFramer::operator=(HTTPFramer&&) noexcept = default;
HTTPFramer::~HTTPFramer() = default;

Direction HTTPFramer::direction() const {
  return impl_->direction();
}
void HTTPFramer::feed(ByteView bytes) {
  impl_->feed(bytes);
}
void HTTPFramer::finish() {
  impl_->finish();
}
std::optional<StreamItem> HTTPFramer::next() {
  return impl_->next();
}
std::size_t HTTPFramer::bufferedBytes() const {
  return impl_->bufferedBytes();
}

}  // namespace qv::capture
