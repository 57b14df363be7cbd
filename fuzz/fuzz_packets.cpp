// Reads a packet file as a whole and in pieces. Both give the same segments and notes, and each
// segment is what a packet can hold. The input: a byte for the size of the pieces, then the file.

#include <algorithm>
#include <cstring>
#include <vector>

#include "capture/packets/packet_segments.h"
#include "fuzz/fuzz.h"

namespace {

using namespace qv;
using namespace qv::capture;
using fuzz::expect;

// What came out, as bytes that can be compared.
class Facts {
 public:
  explicit Facts(bool withPlantedFault) : withPlantedFault_(withPlantedFault) {}

  void add(const TCPSegment& segment) {
    add(segment.place);
    for (const Endpoint& endpoint : {segment.source, segment.destination}) {
      bytes_.insert(bytes_.end(), endpoint.address.begin(), endpoint.address.end());
      add(endpoint.isIPv6);
      add(endpoint.port);
    }
    add(segment.sequence);
    add(segment.acknowledgement);
    add(segment.syn << 3 | segment.ack << 2 | segment.fin << 1 | int{segment.rst});
    add(segment.payloadLength);
    add(ByteView(segment.payload));
    const bool isOdd = segment.syn && segment.source.isIPv6 && !segment.payload.empty();
    if (withPlantedFault_ && fuzz::planted(isOdd)) bytes_.back() ^= 1;
  }
  void add(const InputNote& note) {
    add(note.kind);
    add(bytesOf(note.text));
    add(note.offset);
    add(note.length);
    add(note.place);
  }
  friend bool operator==(const Facts& a, const Facts& b) { return a.bytes_ == b.bytes_; }

 private:
  template <class Number>
  void add(Number number) {
    const auto* begin = reinterpret_cast<const std::uint8_t*>(&number);
    bytes_.insert(bytes_.end(), begin, begin + sizeof number);
  }
  void add(const CapturePlace& place) {
    add(place.number);
    add(place.timeNs.value_or(-1));
  }
  void add(ByteView bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }

  Bytes bytes_;
  bool withPlantedFault_;
};

Facts factsOf(ByteView file, std::size_t pieceSize) {
  Facts facts(pieceSize == SIZE_MAX);
  std::optional<std::string> error;
  const auto segments = PacketSegments::open(
      std::make_shared<MemorySource>(Bytes(file.begin(), file.end()), pieceSize), &error);
  expect((segments == nullptr) == error.has_value(), "what is not opened has a text");
  if (segments == nullptr) return facts;
  std::uint64_t number = 0;
  while (const auto segment = segments->next()) {
    expect(segment->place.number > number, "the numbers of packets ascend");
    number = segment->place.number;
    expect(segment->payload.size() <= segment->payloadLength, "no more was captured than sent");
    expect(segment->payload.size() <= file.size(), "a payload stands in the file");
    facts.add(*segment);
  }
  expect(number <= segments->packets() && segments->packets() <= file.size() / 12,
         "packets were read from the file");
  expect(!segments->next(), "the end is the end");
  while (const auto note = segments->nextNote()) {
    expect(note->offset <= file.size() && note->length <= file.size() - note->offset,
           "a note is about the file");
    facts.add(*note);
  }
  return facts;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const ByteView file(data + 1, size - 1);
  expect(factsOf(file, SIZE_MAX) == factsOf(file, std::max<std::size_t>(data[0], 1)),
         "pieces give the same segments");
  return 0;
}
