#include "capture/capture_opening.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/capture/event_dump.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv::capture::test {
namespace {

const std::map<std::string, CaptureForm> kForms = {
    {"auto", CaptureForm::automatic}, {"http", CaptureForm::http}, {"ndjson", CaptureForm::ndjson},
    {"har", CaptureForm::har},        {"pcap", CaptureForm::pcap},
};

std::string opened(const Bytes& bytes, CaptureForm form, std::size_t pieceSize) {
  std::optional<std::string> error;
  const auto reader =
      openCapture(std::make_shared<MemorySource>(bytes, pieceSize), form, {}, &error);
  if (reader == nullptr) return "refused: " + error.value_or("without a text");
  const std::string format(reader->format());
  return format + "\n" + dump(*reader);
}

TEST(OpenCapture, TellsTheFormByTheBeginning) {
  qv::test::expectAnswers("records/opening.txt", [](const qv::test::Case& input) {
    const Bytes bytes = input.at(1) == "\"\"" ? Bytes() : qv::test::readableBytes(input.at(1));
    const std::string whole = opened(bytes, kForms.at(input.at(0)), SIZE_MAX);
    EXPECT_EQ(opened(bytes, kForms.at(input.at(0)), 1), whole);
    return whole;
  });
}

// Hands out what there is, and ends the test program where a reader would have to wait.
class Pipe : public ByteSource {
 public:
  explicit Pipe(std::string_view text) : source_({text.begin(), text.end()}, 1) {}
  std::size_t read(std::span<std::uint8_t> destination) override {
    const std::size_t count = source_.read(destination);
    if (count == 0) ADD_FAILURE() << "waits for more";
    return count;
  }

 private:
  MemorySource source_;
};

TEST(OpenCapture, WaitsForNoMoreThanItNeeds) {
  const std::string header = "GET / HTTP/1.1\r\n\r\n";
  const std::string record =
      "{\"type\":\"capture\",\"connection\":1,\"direction\":\"to_accessory\","
      "\"header_base64\":\"R0VUIC8gSFRUUC8xLjENCg==\"}\n";
  for (const std::string& text : {header, record}) {
    const auto reader = openCapture(std::make_shared<Pipe>(text));
    ASSERT_NE(reader, nullptr);
    const auto opening = reader->next();
    const auto message = reader->next();
    ASSERT_TRUE(message && std::holds_alternative<ExchangeRecord>(*message));
  }
}

}  // namespace
}  // namespace qv::capture::test
