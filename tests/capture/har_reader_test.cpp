#include "capture/har/har_reader.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "capture/har/iso_time.h"
#include "capture/http/stream_pair_reader.h"
#include "tests/capture/event_dump.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv::capture::test {
namespace {

const std::string kEntry =
    R"({"request":{"method":"GET","url":"/","headers":[]},"response":{"status":204,"headers":[]}})";
const std::string kFront = R"({"log":{"entries":[)";

std::string reported(std::string_view archive, std::size_t pieceSize = SIZE_MAX,
                     FramingLimits limits = {}) {
  const ByteView bytes = bytesOf(archive);
  const auto reader =
      openHAR(std::make_shared<MemorySource>(Bytes(bytes.begin(), bytes.end()), pieceSize), limits);
  return dump(*reader);
}

// The same whatever the pieces.
std::string reportedInPieces(std::string_view archive) {
  const std::string whole = reported(archive);
  EXPECT_EQ(reported(archive, 1), whole);
  EXPECT_EQ(reported(archive, 7), whole);
  return whole;
}

std::string joined(const qv::test::Case& lines) {
  std::string text;
  for (const std::string& line : lines) text += line;
  return text;
}

TEST(HARReader, TurnsEntriesIntoMessages) {
  qv::test::expectAnswers("har/entries.txt", [](const qv::test::Case& lines) {
    return reportedInPieces(kFront + joined(lines) + "]}}");
  });
}

TEST(HARReader, FindsEntriesInWhateverStandsAround) {
  qv::test::expectAnswers("har/archives.txt", [](const qv::test::Case& lines) {
    return reportedInPieces(textOf(qv::test::readableBytes(joined(lines))));
  });
  EXPECT_EQ(reported(""), "reconstructed, error: no HTTP archive: it is empty\n");
}

TEST(HARReader, UsesWhatIsWholeOfACutArchive) {
  const std::string archive =
      "\xEF\xBB\xBF{\"log\":{\"creator\":{\"name\":\"\\\"[\"},\"entries\":[" + kEntry + " , " +
      kEntry + "],\"pages\":[]}}\n";
  const std::size_t firstEnd = archive.find(kEntry) + kEntry.size();
  const std::size_t secondEnd = archive.rfind(kEntry) + kEntry.size();
  for (std::size_t size = 0; size < archive.size() - 1; ++size) {
    const std::string report = reported(std::string_view(archive).substr(0, size));
    std::size_t answers = 0;
    for (std::size_t at = 0; (at = report.find("answers", at)) != std::string::npos; ++at)
      ++answers;
    ASSERT_EQ(answers, (size >= firstEnd ? 1U : 0U) + (size >= secondEnd ? 1U : 0U)) << size;
    ASSERT_TRUE(report.find("truncated") != std::string::npos || size <= 3) << report;
  }
  EXPECT_EQ(reported(archive).find("truncated"), std::string::npos);
}

TEST(HARReader, PassesByAnEntryThatIsTooLarge) {
  const std::string large = "{\"a\":\"" + std::string(kEntry.size(), '}') + "\"}";
  ASSERT_EQ(kEntry.size(), 90);
  EXPECT_EQ(reported(kFront + large + "," + kEntry + "]}}", 10, {kEntry.size()}),
            "unreadablePart [19,117) place 1 entry 1 (byte 19): larger than the limit of 90 bytes\n"
            "connection 1 \n"
            "1.0 place 2 [118,208) request none \"GET / HTTP/1.1|\"\n"
            "1 answers 0 place 2 [118,208) response none \"HTTP/1.1 204 |\"\n"
            "closed 1\n"
            "eventsNotHeld [0,0) an HTTP archive holds no event notifications\n"
            "reconstructed\n");
}

// Answers an archive up to the end of its first entry, and then nothing more may be asked.
class PatientPipe : public ByteSource {
 public:
  std::size_t read(std::span<std::uint8_t> destination) override {
    EXPECT_EQ(asked_++, 0);
    const std::string text = kFront + kEntry;
    std::copy(text.begin(), text.end(), destination.begin());
    return text.size();
  }

 private:
  int asked_ = 0;
};

TEST(HARReader, YieldsAnEntryWhenItsBraceArrived) {
  const auto reader = openHAR(std::make_shared<PatientPipe>());
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(reader->next());
}

TEST(HARReader, RemembersABoundedNumberOfConnections) {
  std::string archive = kFront;
  for (int i = 0; i < 1500; ++i) {
    archive += fmt::format("{{\"connection\":\"{}\",{},", i % 1200, kEntry.substr(1));
  }
  const std::string report = reported(archive);
  EXPECT_NE(report.find("\nclosed 1\nconnection 1001 \n1001.0 place 1001 "), std::string::npos);
  EXPECT_NE(report.find("\nclosed 201\nconnection 1201 \n1201.0 place 1201 "), std::string::npos);
  EXPECT_NE(report.find("\nclosed 1500\n"), std::string::npos);
}

// Header and body of each message of the connection, event notifications left out.
std::vector<std::string> messagesOf(CaptureReader& reader, std::uint64_t connection) {
  std::vector<std::string> messages;
  while (const auto event = reader.next()) {
    const auto* record = std::get_if<ExchangeRecord>(&*event);
    if (record == nullptr || record->connection != connection) continue;
    const FramedMessage* message = record->message();
    if (message == nullptr || message->kind == MessageKind::event) continue;
    messages.push_back(std::string(textOf(message->header)) +
                       completenessText(message->completeness));
    if (message->body) messages.back() += textOf(*message->body);
  }
  return messages;
}

TEST(HARReader, GivesTheMessagesThatTheArchiveWasMadeFrom) {
  const std::string folder = QV_SOURCE_DIR "/examples/captures/";
  std::uint64_t connection = 0;
  for (const char* name : {"household-clean", "household-access-faulty"}) {
    const auto items = [&](const char* ending, Direction direction) {
      return std::make_shared<ByteStreamItems>(FileSource::open(folder + name + ending), direction);
    };
    StreamPairReader streams(items(".req", Direction::toAccessory),
                             items(".rsp", Direction::toController));
    const auto archive = openHAR(FileSource::open(folder + "household.har"));
    const auto messages = messagesOf(streams, 1);
    EXPECT_GE(messages.size(), 30U);
    EXPECT_EQ(messagesOf(*archive, ++connection), messages);
  }
}

TEST(TimeFromISO8601, CountsFromTheEpoch) {
  qv::test::expectAnswers("har/times.txt", [](const qv::test::Case& lines) {
    const auto time = timeFromISO8601(joined(lines));
    return time ? fmt::format("{}", *time) : "none";
  });
}

}  // namespace
}  // namespace qv::capture::test
