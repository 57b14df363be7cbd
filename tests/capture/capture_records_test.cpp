#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "capture/capture_opening.h"
#include "capture/http/stream_pair_reader.h"
#include "capture/io/byte_source.h"
#include "capture/records/capture_record_reader.h"
#include "capture/records/capture_record_writer.h"
#include "qvparsersupport/common/base64.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv::capture::test {
namespace {

std::shared_ptr<ByteSource> sourceOf(std::string_view text, std::size_t pieceSize = SIZE_MAX) {
  const ByteView bytes = bytesOf(text);
  return std::make_shared<MemorySource>(Bytes(bytes.begin(), bytes.end()), pieceSize);
}

// All that the reader tells, as records, and the places of what has one.
struct Told {
  std::string records;
  std::vector<std::string> lines;
};

Told toldBy(CaptureReader& reader) {
  Told told;
  std::string line;
  CaptureRecordWriter writer([&](std::string_view text) {
    line = text;
    told.records += text;
  });
  while (const auto event = reader.next()) {
    writer.write(*event);
    CapturePlace place;
    if (const auto* record = std::get_if<ExchangeRecord>(&*event)) place = record->place;
    if (const auto* note = std::get_if<InputNote>(&*event)) place = note->place;
    told.lines.push_back(fmt::format("{}: {}", place.number, line));
  }
  writer.endInput(reader.fidelity());
  told.lines.push_back(reader.error() ? "error: " + *reader.error() + "\n" : line);
  return told;
}

Told toldByRecords(std::string_view records, std::size_t pieceSize = SIZE_MAX,
                   FramingLimits limits = {}) {
  return toldBy(*openCaptureRecords(sourceOf(records, pieceSize), limits));
}

std::string base64(std::string_view readable) {
  std::string text;
  appendBase64(text, qv::test::readableBytes(readable));
  return text;
}

// "> HEADER | BODY" for a message of connection 1, b64(...) for its base-64, anything else as it
// is.
std::string recordOf(std::string_view line) {
  if (line.starts_with("> ") || line.starts_with("< ")) {
    const std::size_t bar = line.find(" | ");
    const std::string body = bar == line.npos ? "null" : '"' + base64(line.substr(bar + 3)) + '"';
    return fmt::format(
        R"({{"type":"capture","connection":1,"direction":"{}","header_base64":"{}","body_base64":{}}})",
        line[0] == '>' ? "to_accessory" : "to_controller",
        base64(line.substr(2, bar == line.npos ? bar : bar - 2)), body);
  }
  std::string record(line);
  for (std::size_t at = 0; (at = record.find("b64(", at)) != std::string::npos;) {
    const std::size_t end = record.find(')', at);
    record.replace(at, end + 1 - at, base64(std::string_view(record).substr(at + 4, end - at - 4)));
  }
  return record;
}

// The base-64 of a written record as what it stands for.
std::string readable(std::string line) {
  for (std::size_t at = 0; (at = line.find("_base64\":\"", at)) != std::string::npos;) {
    const std::size_t begin = at + 10;
    const std::size_t length = line.find('"', begin) - begin;
    const auto bytes = base64Decoded(std::string_view(line).substr(begin, length)).value();
    line.replace(at, begin + length - at, fmt::format("\":\"{}", textOf(bytes)));
  }
  for (std::size_t at = 0; (at = line.find("\r\n", at)) != std::string::npos;) {
    line.replace(at, 2, "|");
  }
  return line;
}

void expectRecords(const std::string& file, FramingLimits limits = {}) {
  qv::test::expectAnswers(file, [limits](const qv::test::Case& input) {
    std::string records;
    for (const std::string& line : input) records += recordOf(line) + "\n";
    const Told told = toldByRecords(records, SIZE_MAX, limits);
    EXPECT_EQ(toldByRecords(records, 7, limits).lines, told.lines);
    if (!told.lines.back().starts_with("error")) {
      EXPECT_EQ(toldByRecords(told.records, SIZE_MAX, limits).records, told.records);
    }
    std::string answer;
    for (const std::string& line : told.lines) answer += readable(line);
    return answer;
  });
}

TEST(CaptureRecords, AreReadLineByLine) {
  expectRecords("records/lines.txt");
}

TEST(CaptureRecords, MakeMessages) {
  expectRecords("records/messages.txt");
}

TEST(CaptureRecords, PairInTheirOrder) {
  expectRecords("records/pairs.txt");
}

TEST(CaptureRecords, KeepToTheLimit) {
  expectRecords("records/limit.txt", FramingLimits{40});
  const std::string record = recordOf("> GET /a HTTP/1.1\\r\\n");
  const std::string records = std::string(66000, '{') + "\n" + record + "\r\n";
  const Told told = toldByRecords(records, 1000, FramingLimits{40});
  ASSERT_EQ(told.lines.size(), 5U);
  EXPECT_EQ(told.lines[0],
            "1: {\"type\":\"note\",\"kind\":\"unreadable_part\",\"text\":\"line 1 (byte 0): longer "
            "than 65589 bytes\",\"offset\":0,\"length\":66000}\n");
  EXPECT_EQ(told.lines[2].substr(0, 3), "2: ");
}

// Whole and cut captures of every form, through records, give the same events again.
TEST(CaptureRecords, HoldWhatOtherCapturesCameTo) {
  std::size_t captures = 0;
  for (const auto& file :
       std::filesystem::recursive_directory_iterator(QV_SOURCE_DIR "/examples/captures")) {
    if (!file.is_regular_file()) continue;
    const std::string bytes = qv::test::contentOf(file.path().string());
    for (const std::size_t length : {bytes.size(), bytes.size() / 2 + 7}) {
      const auto reader = openCapture(sourceOf(std::string_view(bytes).substr(0, length)));
      ASSERT_NE(reader, nullptr) << file.path();
      const Told told = toldBy(*reader);
      EXPECT_EQ(toldByRecords(told.records).records, told.records) << file.path();
    }
    ++captures;
  }
  EXPECT_GT(captures, 14U);
  // A pair of streams, of which one is cut and the other begins in the midst of it.
  const std::string path = QV_SOURCE_DIR "/examples/captures/household-access-faulty";
  const std::string requests = qv::test::contentOf(path + ".req").substr(0, 5000);
  const std::string responses = qv::test::contentOf(path + ".rsp").substr(777);
  StreamPairReader reader(
      std::make_shared<ByteStreamItems>(sourceOf(requests), Direction::toAccessory),
      std::make_shared<ByteStreamItems>(sourceOf(responses), Direction::toController));
  const Told told = toldBy(reader);
  EXPECT_EQ(toldByRecords(told.records).records, told.records);
}

TEST(CaptureRecords, UseWhatIsWholeOfACutFile) {
  const std::string first = recordOf("> GET /a HTTP/1.1\\r\\n") + "\n";
  const std::string second = recordOf("< HTTP/1.1 204 No Content\\r\\n") + "\n";
  const std::string records = first + second;
  const Told whole = toldByRecords(records);
  ASSERT_EQ(whole.lines.size(), 5U);
  for (std::size_t length = first.size(); length < records.size(); ++length) {
    const Told told = toldByRecords(std::string_view(records).substr(0, length));
    ASSERT_GE(told.lines.size(), 4U);
    EXPECT_EQ(told.lines[1], whole.lines[1]);
    const bool hasSecond = length + 1 == records.size();
    const std::string note = fmt::format("the input ends within line 2 (byte {})", first.size());
    EXPECT_EQ(told.lines[2] == whole.lines[2], hasSecond) << length;
    EXPECT_EQ(told.records.find(note) != std::string::npos, !hasSecond && length > first.size())
        << length;
  }
}

TEST(CaptureRecords, KeepABoundedNumberOfConnections) {
  std::string records;
  for (int connection = 1; connection <= 4100; ++connection) {
    records += fmt::format(R"({{"type":"connection","connection":{}}})"
                           "\n",
                           connection);
  }
  const Told told = toldByRecords(records);
  // Four close before their time, with one note, and the others at the end.
  EXPECT_EQ(told.lines.size(), 4100U * 2 + 1 + 1);
  EXPECT_EQ(told.lines[4096], "0: {\"type\":\"closed\",\"connection\":1}\n");
}

}  // namespace
}  // namespace qv::capture::test
