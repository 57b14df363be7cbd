#include "capture/capture_opening.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "capture/har/har_reader.h"
#include "capture/http/start_line.h"
#include "capture/http/stream_pair_reader.h"
#include "capture/io/gzip_source.h"
#include "capture/io/json_bytes.h"
#include "capture/packets/packet_capture_reader.h"
#include "capture/packets/packet_segments.h"
#include "capture/records/capture_record_reader.h"

namespace qv::capture {
namespace {

constexpr std::size_t kPacketMagic = 4;
// How far the keys of a JSON object and the first start line of a stream are searched for.
constexpr std::size_t kFarthest = std::size_t{64} << 10;
constexpr std::ptrdiff_t kShortestMethod = 3;
constexpr std::ptrdiff_t kLongestMethod = 32;

constexpr const char* kUnknownForm =
    "begins like none of these: a packet file (pcap, pcapng), an HTTP archive (HAR), capture "
    "records (NDJSON), HTTP requests or responses as sent; each may be compressed with gzip";
constexpr const char* kNoStartLine = "holds no start line of a request, response or event";

struct FormRow {
  CaptureForm form;
  const char* name;
};

constexpr FormRow kForms[] = {
    {CaptureForm::http, "HTTP requests or responses as sent"},
    {CaptureForm::ndjson, "capture records (NDJSON)"},
    {CaptureForm::har, "an HTTP archive (HAR)"},
    {CaptureForm::pcap, "a packet file (pcap, pcapng)"},
};

// Keys of a record, of which any may come first.
constexpr std::string_view kRecordKeys[] = {"type",          "connection",  "direction", "time_ns",
                                            "header_base64", "body_base64", "schema"};

// The first bytes of a source one by one, each read when it is asked for.
class Beginning {
 public:
  explicit Beginning(PeekedSource& source) : source_(source) {}

  // Null at the end and beyond what is searched.
  std::optional<std::uint8_t> next() {
    if (position_ == kFarthest) return std::nullopt;
    const ByteView bytes = source_.peek(position_ + 1);
    if (bytes.size() == position_) return std::nullopt;
    return bytes[position_++];
  }
  std::optional<std::uint8_t> nextVisible() {
    std::optional<std::uint8_t> byte = next();
    while (byte && isBlank(*byte)) byte = next();
    return byte;
  }
  // Goes on at `position`.
  void seek(std::size_t position) { position_ = position; }
  std::size_t position() const { return position_; }
  ByteView seen() { return source_.peek(position_); }

 private:
  PeekedSource& source_;
  std::size_t position_ = 0;
};

// Past the closing quote; false when there is none.
bool skipString(Beginning& beginning) {
  while (const std::optional<std::uint8_t> byte = beginning.next()) {
    if (*byte == '"') return true;
    if (*byte == '\\') beginning.next();
  }
  return false;
}

// Past the comma behind a value of an object; false when there is none.
bool skipValue(Beginning& beginning) {
  std::size_t depth = 0;
  while (const std::optional<std::uint8_t> byte = beginning.next()) {
    if (*byte == ',' && depth == 0) return true;
    if (*byte == '"' && !skipString(beginning)) return false;
    if (*byte == '{' || *byte == '[') ++depth;
    if (*byte == '}' || *byte == ']') {
      if (depth-- == 0) return false;
    }
  }
  return false;
}

bool isJSON(CaptureForm form) {
  return form == CaptureForm::har || form == CaptureForm::ndjson;
}

// Null where the key tells nothing.
std::optional<CaptureForm> formOfKey(std::string_view key) {
  if (key == "log") return CaptureForm::har;
  if (std::ranges::find(kRecordKeys, key) != std::end(kRecordKeys)) return CaptureForm::ndjson;
  return std::nullopt;
}

// Of an object, behind its opening brace: by the first key that tells, or by any that tells the
// form that is asked for. Null where no key tells.
std::optional<CaptureForm> formOfObject(Beginning& beginning, CaptureForm asked) {
  std::optional<CaptureForm> first;
  while (beginning.nextVisible() == '"') {
    const std::size_t begin = beginning.position();
    if (!skipString(beginning)) break;
    const std::string_view key =
        textOf(beginning.seen()).substr(begin, beginning.position() - 1 - begin);
    const std::optional<CaptureForm> form = formOfKey(key);
    if (form && (form == asked || !isJSON(asked))) return form;
    if (!first) first = form;
    if (!skipValue(beginning)) break;
  }
  return first;
}

bool isUpper(std::uint8_t byte) {
  return byte >= 'A' && byte <= 'Z';
}

// Of a raw stream, from where its first message is due. Null when there is none.
std::optional<Direction> directionAt(Beginning& beginning) {
  const std::size_t begin = beginning.position();
  for (;;) {
    const bool atEnd = !beginning.next();
    const ByteView bytes = beginning.seen().subspan(begin);
    const StartLineCheck response = startLineAt(Direction::toController, bytes);
    if (response == StartLineCheck::yes) return Direction::toController;
    const auto word = std::ranges::find_if_not(bytes, isUpper) - bytes.begin();
    const bool isOpen = word == std::ssize(bytes);
    if (!isOpen && bytes[static_cast<std::size_t>(word)] == ' ' && word >= kShortestMethod) {
      return Direction::toAccessory;
    }
    // What is cut within its first word.
    if (atEnd && response == StartLineCheck::undecided) return Direction::toController;
    if (atEnd && isOpen) return Direction::toAccessory;
    const bool mayBeRequest = isOpen && word <= kLongestMethod;
    if (atEnd || (response == StartLineCheck::no && !mayBeRequest)) return std::nullopt;
  }
}

// The direction of which a start line comes first, wherever it is.
std::optional<Direction> directionWithin(PeekedSource& source) {
  const ByteView bytes = source.peek(kFarthest);
  const auto requests = StartLineSearch(Direction::toAccessory).advance(bytes, true);
  const auto responses = StartLineSearch(Direction::toController).advance(bytes, true);
  if (!requests.found && !responses.found) return std::nullopt;
  const bool requestFirst =
      requests.found && (!responses.found || requests.length < responses.length);
  return requestFirst ? Direction::toAccessory : Direction::toController;
}

struct Told {
  CaptureForm form = CaptureForm::http;
  std::optional<Direction> direction;  // of a raw stream
};

std::optional<Told> toldBy(PeekedSource& source, CaptureForm asked) {
  if (PacketSegments::recognises(source.peek(kPacketMagic))) return Told{CaptureForm::pcap, {}};
  Beginning beginning(source);
  std::optional<std::uint8_t> first = beginning.nextVisible();
  if (!first) return Told{CaptureForm::http, Direction::toAccessory};
  if (*first == 0xEF && beginning.next() == 0xBB && beginning.next() == 0xBF) {
    first = beginning.nextVisible();
  }
  if (first == '{') {
    const auto form = formOfObject(beginning, asked);
    if (form) return Told{*form, {}};
    if (asked == CaptureForm::automatic) return Told{CaptureForm::har, {}};
    return isJSON(asked) ? std::optional(Told{asked, {}}) : std::nullopt;
  }
  beginning.seek(beginning.position() - 1);
  const std::optional<Direction> direction = directionAt(beginning);
  if (!direction) return std::nullopt;
  return Told{CaptureForm::http, direction};
}

// Whether the first line that is not empty is a start line, as strictly as where none is due.
bool beginsWithStartLine(PeekedSource& source) {
  Beginning beginning(source);
  std::optional<std::uint8_t> byte = beginning.nextVisible();
  const std::size_t begin = byte ? beginning.position() - 1 : 0;
  while (byte && *byte != '\n') byte = beginning.next();
  const ByteView line = beginning.seen().subspan(begin);
  const auto beginsLine = [&](Direction direction) {
    const auto found = StartLineSearch(direction).advance(line, true);
    return found.found && found.length == 0;
  };
  return beginsLine(Direction::toAccessory) || beginsLine(Direction::toController);
}

// What is whole further on is read: the messages of a stream behind other bytes, the lines of
// records behind one that is cut.
bool mayBe(CaptureForm asked, CaptureForm told, PeekedSource& source) {
  if (asked == CaptureForm::http && isJSON(told)) return directionWithin(source).has_value();
  return asked == CaptureForm::ndjson && told == CaptureForm::http && !beginsWithStartLine(source);
}

std::optional<std::string> contradiction(PeekedSource& source, CaptureForm asked,
                                         const std::optional<Told>& told,
                                         const std::string& advice) {
  if (source.peek(1).empty()) return std::nullopt;
  const auto nameOf = [](CaptureForm form) {
    return std::ranges::find(kForms, form, &FormRow::form)->name;
  };
  if (!told) {
    const bool isLenient = asked == CaptureForm::http || asked == CaptureForm::ndjson;
    if (isLenient) return std::nullopt;
    return fmt::format("does not begin like {}", nameOf(asked));
  }
  if (told->form == asked || mayBe(asked, told->form, source)) return std::nullopt;
  return fmt::format("begins like {}, not like {}{}", nameOf(told->form), nameOf(asked), advice);
}

class EmptyReader final : public CaptureReader {
 public:
  std::optional<CaptureEvent> next() override { return std::nullopt; }
  std::string_view format() const override { return ""; }
  std::string contents() const override { return "it is empty"; }
  Fidelity fidelity() const override { return Fidelity::exact; }
};

std::unique_ptr<CaptureReader> openStream(const std::shared_ptr<PeekedSource>& source,
                                          Direction direction, FramingLimits limits) {
  auto items = std::make_shared<ByteStreamItems>(source, direction, limits);
  if (direction == Direction::toAccessory) {
    return std::make_unique<StreamPairReader>(std::move(items), nullptr);
  }
  return std::make_unique<StreamPairReader>(nullptr, std::move(items));
}

}  // namespace

std::unique_ptr<CaptureReader> openCapture(std::shared_ptr<ByteSource> source, CaptureForm form,
                                           const OpenOptions& options, ErrorSlot errorDescription) {
  const std::shared_ptr<PeekedSource> peeked = inflatedWhereCompressed(std::move(source));
  if (peeked->peek(1).empty()) {
    if (peeked->error()) return fail(errorDescription, *peeked->error());
    const bool mayBeEmpty = form != CaptureForm::har && form != CaptureForm::pcap;
    if (mayBeEmpty) return std::make_unique<EmptyReader>();
  }

  const std::optional<Told> told = toldBy(*peeked, form);
  if (form == CaptureForm::automatic) {
    if (told) form = told->form;
  } else if (const auto other = contradiction(*peeked, form, told, options.advice)) {
    return fail(errorDescription, *other);
  }
  std::optional<Direction> direction;
  if (told && told->form == CaptureForm::http) direction = told->direction;
  switch (form) {
    case CaptureForm::automatic:
      return fail(errorDescription, kUnknownForm);
    case CaptureForm::http:
      if (!direction) direction = directionWithin(*peeked);
      if (!direction) return fail(errorDescription, kNoStartLine);
      return openStream(peeked, *direction, options.limits);
    case CaptureForm::ndjson:
      return openCaptureRecords(peeked, options.limits);
    case CaptureForm::har:
      return openHAR(peeked, options.limits);
    case CaptureForm::pcap:
      return openPacketCapture(peeked, options.accessoryPort, options.limits, errorDescription);
  }
  return nullptr;
}

std::optional<std::string> otherForm(PeekedSource& source, CaptureForm asked,
                                     const std::string& advice) {
  return contradiction(source, asked, toldBy(source, asked), advice);
}

std::optional<CaptureForm> clearForm(PeekedSource& source, CaptureForm asked) {
  if (asked != CaptureForm::automatic) {
    return otherForm(source, asked, "") ? std::nullopt : std::optional(asked);
  }
  // As of a stream, of which an object without a telling key is nothing.
  const std::optional<Told> told = toldBy(source, CaptureForm::http);
  if (!told || (told->form == CaptureForm::http && !beginsWithStartLine(source))) {
    return std::nullopt;
  }
  return told->form;
}

}  // namespace qv::capture
