// Reads capture records as a whole, then in pieces or again as they are written. Both give the same
// events; every message stands in a line of its own, and a response answers a request that was
// there.
//
// The input: a byte of switches (bit 0 a small message limit, bit 1 written again, bits 4 to 7 the
// piece size less one) and the records, in which 0x03 and 0x04 stand for how a message towards the
// accessory and the controller begins, and what is between 0x01 and 0x02 is put into base-64.

#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include <fmt/format.h>

#include "capture/records/capture_record_reader.h"
#include "capture/records/capture_record_writer.h"
#include "fuzz/fuzz.h"
#include "qvparsersupport/common/base64.h"

namespace {

using namespace qv;
using namespace qv::capture;
using fuzz::expect;

constexpr std::uint64_t kSmallLimit = 64;

// Of an input; more would be more of the same, at the price of fewer runs.
constexpr std::size_t kUsed = 440;

std::string recordsOf(ByteView input) {
  constexpr std::string_view kMessage = R"({"type":"capture","connection":1,"direction":"to_)";
  std::string records;
  for (std::size_t at = 0; at < input.size(); ++at) {
    if (input[at] == 1) {
      const ByteView rest = input.subspan(at + 1);
      const auto end = static_cast<std::size_t>(std::ranges::find(rest, 2) - rest.begin());
      appendBase64(records, rest.first(end));
      at += end + 1;
    } else if (input[at] == 3 || input[at] == 4) {
      records.append(kMessage).append(input[at] == 3 ? "accessory" : "controller");
      records += R"(","header_base64":")";
    } else {
      records += static_cast<char>(input[at]);
    }
  }
  return records;
}

struct Reading {
  std::string records;  // what was read, written again
  std::string places;
  bool failed = false;
};

void check(const ExchangeRecord& record, std::string_view input,
           std::set<std::pair<std::uint64_t, std::uint64_t>>& requests) {
  const FramedMessage* message = record.message();
  if (message == nullptr) return;
  expect(message->isRecord && message->endOffset <= input.size(), "a message is in the input");
  std::uint64_t begin = message->beginOffset;
  if (fuzz::planted(message->notes.size() > 1 && record.answers)) ++begin;
  expect(begin == 0 || input[begin - 1] == '\n', "a message is in a line of its own");
  expect(input.substr(begin, message->endOffset - begin).find('\n') == input.npos,
         "a message is in one line");
  const auto lines = std::ranges::count(input.substr(0, begin), '\n');
  expect(record.place.number == static_cast<std::uint64_t>(lines) + 1, "and names it");
  if (record.requestIndex) requests.emplace(record.connection, *record.requestIndex);
  if (!record.answers) return;
  expect(record.direction == Direction::toController, "a response answers");
  expect(requests.contains({record.connection, *record.answers}), "it answers a request");
}

Reading read(std::string_view input, std::size_t pieceSize, FramingLimits limits,
             bool checks = false) {
  const ByteView bytes = bytesOf(input);
  const auto reader = openCaptureRecords(
      std::make_shared<MemorySource>(Bytes(bytes.begin(), bytes.end()), pieceSize), limits);
  Reading reading;
  CaptureRecordWriter writer([&](std::string_view lines) { reading.records += lines; });
  std::set<std::pair<std::uint64_t, std::uint64_t>> requests;
  while (const auto event = reader->next()) {
    writer.write(*event);
    const auto* record = std::get_if<ExchangeRecord>(&*event);
    if (record == nullptr) continue;
    const FramedMessage* message = record->message();
    const std::uint64_t offset = message != nullptr ? message->beginOffset : 0;
    reading.places += fmt::format("{} {}\n", record->place.number, offset);
    if (checks) check(*record, input, requests);
  }
  writer.endInput(reader->fidelity());
  reading.failed = reader->error().has_value();
  return reading;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string input = recordsOf(ByteView(data + 1, std::min(size - 1, kUsed)));
  FramingLimits limits;
  if (data[0] & 1) limits.messageBytes = kSmallLimit;

  const Reading whole = read(input, SIZE_MAX, limits, true);
  if (data[0] & 2) {
    if (whole.failed) return 0;
    expect(read(whole.records, SIZE_MAX, limits).records == whole.records,
           "what was read, written and read again is the same");
  } else {
    const Reading pieces = read(input, (data[0] >> 4) + 1U, limits);
    expect(pieces.records == whole.records && pieces.places == whole.places,
           "pieces give the same events");
  }
  return 0;
}
