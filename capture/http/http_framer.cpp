#include "capture/http/http_framer.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "capture/http/body_plan.h"
#include "capture/http/chunked_reader.h"
#include "capture/http/damage_reader.h"
#include "capture/http/framing_fields.h"
#include "capture/http/framing_notes.h"
#include "capture/http/header_scan.h"
#include "capture/http/start_line.h"
#include "capture/io/stream_window.h"

namespace qv::capture {
namespace {

// How many line ends after a 204 are looked past for a stray body.
constexpr std::size_t kLineEndsBeforeStrayBody = 64;
// How many bytes wait behind a 204 for what the other side says.
constexpr std::size_t kMostUnsettledBytes = std::size_t{64} << 10;
// Of places ahead that are settled; requests that were captured before their responses.
constexpr std::size_t kMostSettled = 256;

}  // namespace

class HTTPFramer::Impl {
 public:
  Impl(Direction direction, FramingLimits limits)
      : direction_(direction), limits_(limits), search_(direction), damage_(direction) {}

  void beginInMidstream(std::uint64_t offset, DamageKind rest) {
    window_.jump(offset);
    itemOffset_ = offset;
    rest_ = rest;
    enterDamage();
  }

  Direction direction() const { return direction_; }
  void feed(ByteView bytes) {
    if (finished_ || bytes.empty()) return;
    window_.append(bytes);
  }
  void skip(std::uint64_t length) {
    if (!finished_) gap_ += length;
  }
  void settleAt(std::uint64_t offset) {
    if (!settled_.empty() && offset <= settled_.back()) return;
    settled_.push_back(offset);
    // The last one tells that no earlier place will be settled any more.
    while (settled_.size() > 1 &&
           (settled_.front() < window_.offset() || settled_.size() > kMostSettled)) {
      settled_.erase(settled_.begin());
    }
  }
  void expectSettling() { expectsSettling_ = true; }
  void askForHead(AnswersHead answersHead) { answersHead_ = std::move(answersHead); }
  void finish(StreamEnd end) {
    finished_ = true;
    end_ = end;
  }

  std::optional<StreamItem> next() {
    for (;;) {
      switch (step()) {
        case Progress::again:
          break;
        case Progress::needsInput:
          if (gap_ == 0) return std::nullopt;
          if (enterGap() == Progress::again) break;
          return std::exchange(item_, std::nullopt);
        case Progress::delivers:
          return std::exchange(item_, std::nullopt);
      }
    }
  }

  std::size_t bufferedBytes() const {
    const std::size_t body = message_.body ? message_.body->capacity() : 0;
    return window_.capacity() + message_.header.capacity() + body + message_.segments.heapBytes() +
           message_.notes.capacity() * sizeof(FramingNote);
  }
  void trim() { window_.trim(); }

 private:
  enum class Progress : std::uint8_t { again, needsInput, delivers };
  enum class State : std::uint8_t {
    betweenMessages,
    damage,
    header,
    methodOfRequest,  // is it HEAD?
    announcedBody,    // of a message that should have none: is it there?
    afterNoContent,   // does something stray after a 204?
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
      case State::methodOfRequest:
        return askForMethod();
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
  bool beginsMidWord() const;
  Progress deliver(StreamItem item);

  // Bytes that are missing come when all before them were looked at.
  bool isAtEnd() const { return finished_ && gap_ == 0; }
  Progress enterGap();
  Progress deliverGap(bool mayHideMessages);

  // A message, in the order in which its parts are read.
  Progress beginMessage();
  Progress readHeader();
  Progress beginBody(const FramingFields& fields);
  Progress proceedUnlessHead(State state);
  Progress askForMethod();
  Progress lookForAnnouncedBody();
  Progress lookForStrayBody();
  Progress readContentLengthBody();
  Progress readChunkedBody();
  Progress readUntilClose();
  Progress readStrayBody();
  Progress deliverMessage();
  Progress deliverCut(Completeness completeness);
  Completeness byEnd(Completeness cut) const;
  Progress deliverWithUnknownEnd(Completeness completeness);

  void keepBody(std::size_t count) {
    BodyBuilder(message_, limits_.messageBytes).keep(window_.view().first(count), window_.offset());
    window_.consume(count);
  }
  void keepHeader(ByteView header) {
    message_.header.assign(header.begin(), header.end());
    message_.kind = messageKindOf(direction_, header);
  }
  Progress deliverCutHeader() {
    keepHeader(window_.view());
    message_.bodyOffset = window_.offset() + window_.view().size();
    return deliverCut(Completeness::bytesMissing);
  }
  void note(FramingNoteKind kind, std::string_view text, std::uint64_t offset,
            std::uint64_t length) {
    addNote(message_.notes, kind, text, offset, length);
  }

  Direction direction_;
  FramingLimits limits_;
  StreamWindow window_;
  bool finished_ = false;
  StreamEnd end_ = StreamEnd::unknown;
  std::optional<DamageKind> rest_;  // what the item under construction is the rest of, if anything
  std::vector<std::uint64_t> settled_;  // ascending
  bool expectsSettling_ = false;
  AnswersHead answersHead_;
  bool endsWithPiece_ = false;  // the header of the 204
  std::uint64_t gap_ = 0;       // bytes that are missing behind the window
  State state_ = State::betweenMessages;
  std::uint64_t itemOffset_ = 0;  // where the item under construction begins
  std::optional<StreamItem> item_;

  StartLineSearch search_;
  DamageReader damage_;

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
    if (!isAtEnd() || window_.offset() == itemOffset_) return Progress::needsInput;
    return deliver(emptyLinesAtEnd(itemOffset_, window_.offset()));
  }
  switch (startLineAt(direction_, window_.view())) {
    case StartLineCheck::yes:
      return beginMessage();
    case StartLineCheck::no:
      return enterDamage();
    case StartLineCheck::undecided:
      return isAtEnd() ? beginMessage() : Progress::needsInput;
  }
  return Progress::needsInput;
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::enterDamage() {
  damage_ = DamageReader(direction_, rest_);
  return proceed(State::damage);
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::skipDamage() {
  if (!damage_.skip(window_, isAtEnd())) return Progress::needsInput;
  if (beginsMidWord()) {
    const ByteView bytes = window_.view();
    const auto blank = std::find(bytes.begin(), bytes.end(), ' ');
    window_.consume(static_cast<std::size_t>(blank - bytes.begin()));
    return enterDamage();
  }
  if (window_.offset() == itemOffset_) return proceed(State::betweenMessages);
  return deliver(damage_.damage(itemOffset_, window_.offset()));
}

// Behind a gap "OST /pairings HTTP/1.1" is what is left of another method.
bool HTTPFramer::Impl::beginsMidWord() const {
  return direction_ == Direction::toAccessory && rest_ && !window_.empty() &&
         window_.offset() == itemOffset_ && !knownMethodAt(window_.view());
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::deliver(StreamItem item) {
  rest_ = std::nullopt;
  item_ = std::move(item);
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
      headerScan_.advance(bytes, isAtEnd() && !overLimit, message_);
  if (!end && !overLimit && !isAtEnd()) return Progress::needsInput;

  const ByteView header = end ? bytes.first(end->headerLength) : bytes;
  keepHeader(header);
  window_.consume(end ? end->totalLength : bytes.size());
  message_.bodyOffset = window_.offset();
  if (end) return beginBody(readFramingFields(message_));
  return overLimit ? deliverWithUnknownEnd(Completeness::tooLarge)
                   : deliverCut(Completeness::headerCut);
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::beginBody(const FramingFields& fields) {
  remaining_ = fields.contentLength.value_or(0);
  chunks_ = ChunkedReader();
  switch (bodyPlanOf(message_, fields)) {
    case BodyPlan::none:
      return deliverMessage();
    case BodyPlan::contentLength:
      return proceedUnlessHead(State::contentLengthBody);
    case BodyPlan::chunked:
      return proceedUnlessHead(State::chunkedBody);
    case BodyPlan::untilClose:
      return proceedUnlessHead(State::untilCloseBody);
    case BodyPlan::lengthUnreadable:
      return deliverWithUnknownEnd(Completeness::lengthUnreadable);
    case BodyPlan::announcedContentLength:
      announcedState_ = State::contentLengthBody;
      return proceed(State::announcedBody);
    case BodyPlan::announcedChunked:
      announcedState_ = State::chunkedBody;
      return proceed(State::announcedBody);
    case BodyPlan::unannounced:
      endsWithPiece_ = window_.empty();
      return proceed(State::afterNoContent);
  }
  return deliverMessage();
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::proceedUnlessHead(State state) {
  const bool isEmpty = state == State::contentLengthBody && remaining_ == 0;
  if (isEmpty || message_.kind != MessageKind::response || !answersHead_) return proceed(state);
  announcedState_ = state;
  return proceed(State::methodOfRequest);
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::askForMethod() {
  const std::optional<bool> isHead = answersHead_(message_.headerOffset);
  const bool mayWait = !finished_ && gap_ == 0 && window_.view().size() <= kMostUnsettledBytes;
  if (!isHead && mayWait) return Progress::needsInput;
  return isHead.value_or(false) ? deliverMessage() : proceed(announcedState_);
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::lookForAnnouncedBody() {
  switch (startLineAt(direction_, window_.view())) {
    case StartLineCheck::no:
      return proceed(announcedState_);
    case StartLineCheck::undecided:
      return isAtEnd() ? proceed(announcedState_) : Progress::needsInput;
    case StartLineCheck::yes:
      break;
  }
  note(FramingNoteKind::announcedBodyMissing,
       "the header announces a body, but the next message follows at once", message_.headerOffset,
       message_.header.size());
  return deliverMessage();
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::lookForStrayBody() {
  const bool isSettled = endsWithPiece_ && std::ranges::binary_search(settled_, window_.offset());
  if (isSettled) return deliverMessage();
  const ByteView bytes = window_.view();
  const ByteView peek = bytes.first(std::min(bytes.size(), kLineEndsBeforeStrayBody + 1));
  const auto first = std::find_if_not(peek.begin(), peek.end(), isLineEnd);
  const auto lineEnds = static_cast<std::size_t>(first - peek.begin());
  if (lineEnds > kLineEndsBeforeStrayBody) return deliverMessage();
  const StartLineCheck check = startLineAt(direction_, bytes.subspan(lineEnds));
  if (check == StartLineCheck::no) {
    const bool mayBeSettled = expectsSettling_ && endsWithPiece_ && !isAtEnd() && gap_ == 0 &&
                              (settled_.empty() || settled_.back() < window_.offset());
    if (mayBeSettled && bytes.size() <= kMostUnsettledBytes) return Progress::needsInput;
    search_ = StartLineSearch(direction_);
    message_.framing = BodyFraming::strayAfter204;
    return proceed(State::strayBody);
  }
  return check == StartLineCheck::yes || isAtEnd() ? deliverMessage() : Progress::needsInput;
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::readContentLengthBody() {
  message_.framing = BodyFraming::contentLength;
  const auto taken =
      static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, window_.view().size()));
  keepBody(taken);
  remaining_ -= taken;
  if (remaining_ == 0) return deliverMessage();
  return isAtEnd() ? deliverCut(Completeness::bodyCut) : Progress::needsInput;
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::readChunkedBody() {
  message_.framing = BodyFraming::chunked;
  BodyBuilder body(message_, limits_.messageBytes);
  switch (chunks_.advance(window_, isAtEnd(), message_, body)) {
    case ChunkedReader::Progress::again:
      return Progress::again;
    case ChunkedReader::Progress::done:
      return deliverMessage();
    case ChunkedReader::Progress::unreadable:
      return deliverWithUnknownEnd(Completeness::chunkUnreadable);
    case ChunkedReader::Progress::needsInput:
      break;
  }
  return isAtEnd() ? deliverCut(Completeness::bodyCut) : Progress::needsInput;
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::readUntilClose() {
  message_.framing = BodyFraming::untilClose;
  keepBody(window_.view().size());
  if (!isAtEnd()) return Progress::needsInput;
  if (end_ == StreamEnd::captureStops || end_ == StreamEnd::reset) {
    return deliverCut(Completeness::bodyCut);
  }
  const std::uint64_t length = window_.offset() - message_.bodyOffset;
  if (length > 0) {
    note(FramingNoteKind::bodyEndedByClose, "the body is ended by the close of the connection",
         message_.bodyOffset, length);
  }
  return deliverMessage();
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::readStrayBody() {
  const StartLineSearch::Result result = search_.advance(window_.view(), isAtEnd());
  const ByteView stray = window_.view().first(result.length);
  // A message may hide in what spans lines.
  if (std::any_of(stray.begin(), stray.end(), isLineEnd)) message_.endKnown = false;
  keepBody(result.length);
  if (!result.found && !isAtEnd()) return Progress::needsInput;
  note(FramingNoteKind::strayBodyAfter204, "bytes that begin no message follow a 204",
       message_.bodyOffset, window_.offset() - message_.bodyOffset);
  return deliverMessage();
}

HTTPFramer::Impl::Progress HTTPFramer::Impl::deliverMessage() {
  message_.endOffset = window_.offset();
  const bool endedByStream =
      message_.framing == BodyFraming::untilClose ||
      (!message_.complete() && cutKindOf(message_.completeness) != CutKind::none);
  if (message_.body && endedByStream) {
    const auto result = StartLineSearch(direction_).advance(*message_.body, true);
    if (result.found) {
      note(FramingNoteKind::startLineInBody, "the body holds what looks like another start line",
           message_.streamOffsetOf(result.length), 0);
    }
  }
  if (message_.completeness == Completeness::tooLarge) {
    noteLargerThanLimit(message_, limits_.messageBytes);
  }
  return deliver(std::exchange(message_, FramedMessage()));
}

// Everything before the gap was looked at and the window holds what was undecided.
HTTPFramer::Impl::Progress HTTPFramer::Impl::enterGap() {
  switch (state_) {
    case State::betweenMessages:
      // The first bytes of a start line, or empty lines.
      if (!window_.empty()) {
        beginMessage();
        return deliverCutHeader();
      }
      if (itemOffset_ < window_.offset())
        return deliver(emptyLinesAtEnd(itemOffset_, window_.offset()));
      return deliverGap(true);
    case State::damage:
      window_.consume(window_.view().size());
      if (itemOffset_ < window_.offset())
        return deliver(damage_.damage(itemOffset_, window_.offset()));
      return deliverGap(true);
    case State::header:
      return deliverCutHeader();
    case State::afterNoContent:
      // What may be the beginning of a message is no stray body.
      if (window_.empty()) break;
      return deliverMessage();
    case State::contentLengthBody:
      if (gap_ > remaining_) break;
      remaining_ -= gap_;
      return deliverGap(false);
    case State::chunkedBody:
      if (!chunks_.skip(gap_)) break;
      return deliverGap(false);
    default:
      break;
  }
  return deliverCut(Completeness::bytesMissing);
}

// Between messages the next one has to be searched for behind it; a message goes on.
HTTPFramer::Impl::Progress HTTPFramer::Impl::deliverGap(bool mayHideMessages) {
  item_ = Gap{window_.offset(), gap_, mayHideMessages};
  window_.jump(std::exchange(gap_, 0));
  if (mayHideMessages) {
    itemOffset_ = window_.offset();
    rest_ = DamageKind::behindGap;
    enterDamage();
  } else if (message_.complete()) {
    message_.completeness = Completeness::bytesMissing;
  }
  return Progress::delivers;
}

// The stream ended inside the message.
HTTPFramer::Impl::Progress HTTPFramer::Impl::deliverCut(Completeness completeness) {
  window_.consume(window_.view().size());
  if (message_.complete()) message_.completeness = byEnd(completeness);
  return deliverMessage();
}

// What the end of the stream makes of a message that is cut.
Completeness HTTPFramer::Impl::byEnd(Completeness cut) const {
  const bool inHeader = cut == Completeness::headerCut;
  if (!inHeader && cut != Completeness::bodyCut) return cut;
  if (end_ == StreamEnd::closed) {
    return inHeader ? Completeness::closedInHeader : Completeness::closedInBody;
  }
  if (end_ == StreamEnd::reset) {
    return inHeader ? Completeness::resetInHeader : Completeness::resetInBody;
  }
  return cut;
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

HTTPFramer HTTPFramer::inMidstream(Direction direction, std::uint64_t offset, FramingLimits limits,
                                   DamageKind rest) {
  HTTPFramer framer(direction, limits);
  framer.impl_->beginInMidstream(offset, rest);
  return framer;
}

Direction HTTPFramer::direction() const {
  return impl_->direction();
}
void HTTPFramer::feed(ByteView bytes) {
  impl_->feed(bytes);
}
void HTTPFramer::skip(std::uint64_t length) {
  impl_->skip(length);
}
void HTTPFramer::settleAt(std::uint64_t offset) {
  impl_->settleAt(offset);
}
void HTTPFramer::expectSettling() {
  impl_->expectSettling();
}
void HTTPFramer::askForHead(AnswersHead answersHead) {
  impl_->askForHead(std::move(answersHead));
}
void HTTPFramer::finish(StreamEnd end) {
  impl_->finish(end);
}
std::optional<StreamItem> HTTPFramer::next() {
  return impl_->next();
}
std::size_t HTTPFramer::bufferedBytes() const {
  return impl_->bufferedBytes();
}
void HTTPFramer::trim() {
  impl_->trim();
}

}  // namespace qv::capture
