// Frames a stream, of which a stretch may be missing, as a whole and in pieces. Both give the same
// items, the items account for every byte, and what a message holds is what stands in the stream at
// the places that it names.
//
// The input: a byte of switches (bit 0 the direction, bit 1 a small message limit, bit 2 whether
// bytes are missing, bits 4 to 7 the number of piece sizes), that many sizes, which are used in
// turn, where bit 2 asks for them a byte for the place of the gap and one for its length, and the
// stream.

#include <algorithm>
#include <tuple>
#include <vector>

#include "capture/http/http_framer.h"
#include "fuzz/fuzz.h"

namespace {

using namespace qv;
using namespace qv::capture;
using fuzz::expect;

constexpr std::uint64_t kSmallLimit = 64;

void drain(HTTPFramer& framer, std::vector<StreamItem>& items) {
  while (auto item = framer.next()) items.push_back(std::move(*item));
}

struct Stretch {
  std::size_t begin = 0;
  std::size_t length = 0;
};

void feed(HTTPFramer& framer, ByteView stream, ByteView sizes, std::vector<StreamItem>& items) {
  for (std::size_t turn = 0; !stream.empty(); ++turn) {
    // A size of 0 feeds nothing, which must change nothing either; the next one makes up for it.
    const std::size_t size = sizes.empty() ? stream.size() : sizes[turn % sizes.size()];
    const std::size_t atLeast = turn % 2;
    const ByteView piece = stream.first(std::min(std::max(size, atLeast), stream.size()));
    framer.feed(piece);
    drain(framer, items);
    stream = stream.subspan(piece.size());
  }
}

std::vector<StreamItem> framed(ByteView stream, Stretch missing, ByteView sizes,
                               Direction direction, FramingLimits limits) {
  HTTPFramer framer(direction, limits);
  std::vector<StreamItem> items;
  feed(framer, stream.first(missing.begin), sizes, items);
  framer.skip(missing.length);
  drain(framer, items);
  feed(framer, stream.subspan(missing.begin + missing.length), sizes, items);
  framer.finish();
  drain(framer, items);
  return items;
}

auto facts(const FramingNote& note) {
  return std::tie(note.kind, note.text, note.offset, note.length);
}
auto facts(const BodySegment& segment) {
  return std::tie(segment.bodyOffset, segment.streamOffset);
}
auto facts(const Damage& damage) {
  return std::tie(damage.kind, damage.text, damage.offset, damage.length, damage.mayHideMessages);
}
auto facts(const Gap& gap) {
  return std::tie(gap.offset, gap.length, gap.mayHideMessages);
}
auto facts(const FramedMessage& message) {
  return std::tie(message.direction, message.kind, message.beginOffset, message.endOffset,
                  message.headerOffset, message.header, message.bodyOffset, message.body,
                  message.framing, message.completeness, message.endKnown);
}
constexpr auto sameFacts = [](const auto& a, const auto& b) { return facts(a) == facts(b); };

bool same(const StreamItem& a, const StreamItem& b) {
  if (a.index() != b.index()) return false;
  if (const Damage* damage = std::get_if<Damage>(&a))
    return sameFacts(*damage, std::get<Damage>(b));
  if (const Gap* gap = std::get_if<Gap>(&a)) return sameFacts(*gap, std::get<Gap>(b));
  const auto& one = std::get<FramedMessage>(a);
  const auto& other = std::get<FramedMessage>(b);
  return sameFacts(one, other) && std::ranges::equal(one.notes, other.notes, sameFacts) &&
         std::ranges::equal(one.segments.all(), other.segments.all(), sameFacts);
}

void checkPlaces(const FramedMessage& message, ByteView stream) {
  const auto standsAt = [stream](ByteView bytes, std::uint64_t offset) {
    return offset <= stream.size() && bytes.size() <= stream.size() - offset &&
           std::ranges::equal(bytes, stream.subspan(offset, bytes.size()));
  };
  expect(standsAt(message.header, message.headerOffset), "the header stands in the stream");
  if (!message.body) return;
  expect(!message.body->empty() && !message.segments.empty(), "a body has bytes");
  const std::vector<BodySegment> segments = message.segments.all();
  std::uint64_t wrong = 0;
  if (fuzz::planted(segments.size() > 2)) wrong = 1;
  for (std::size_t index = 0; index < segments.size(); ++index) {
    const std::uint64_t begin = segments[index].bodyOffset;
    const std::uint64_t end =
        index + 1 < segments.size() ? segments[index + 1].bodyOffset : message.body->size();
    expect(begin < end && end <= message.body->size(), "segments follow each other");
    expect(message.streamOffsetOf(begin) == segments[index].streamOffset + wrong,
           "a segment begins where it says");
    expect(
        standsAt(ByteView(*message.body).subspan(begin, end - begin), segments[index].streamOffset),
        "the body stands in the stream");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const ByteView input(data + 1, size - 1);
  const Direction direction = data[0] & 1 ? Direction::toController : Direction::toAccessory;
  FramingLimits limits;
  if (data[0] & 2) limits.messageBytes = kSmallLimit;
  const ByteView sizes = input.first(std::min<std::size_t>(data[0] >> 4, input.size()));
  ByteView stream = input.subspan(sizes.size());
  Stretch missing;
  if ((data[0] & 4) && stream.size() > 2) {
    const std::size_t length = stream[1];
    missing.begin = stream[0];
    stream = stream.subspan(2);
    missing.begin = std::min(missing.begin, stream.size());
    missing.length = std::min(length, stream.size() - missing.begin);
  }

  const auto whole = framed(stream, missing, {}, direction, limits);
  expect(accountsForEveryByte(whole, stream.size()), "every byte is accounted for");
  for (const StreamItem& item : whole) {
    if (const auto* message = std::get_if<FramedMessage>(&item)) checkPlaces(*message, stream);
  }
  const auto pieces = framed(stream, missing, sizes, direction, limits);
  expect(std::ranges::equal(whole, pieces, same), "pieces give the same items");
  const std::uint8_t one = 1;
  const auto bytes = framed(stream, missing, {&one, 1}, direction, limits);
  expect(std::ranges::equal(whole, bytes, same), "single bytes give the same items");
  return 0;
}
