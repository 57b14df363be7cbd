// Recorded traffic, cut or with a byte flipped anywhere: nothing breaks, and what the capture lost
// is never blamed on the peer.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>

#include "capture/http/stream_pair_reader.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"
#include "tests/support/xml_fragment.h"
#include "tools/qvcheck/message_checker.h"
#include "tools/qvcheck/message_view.h"

namespace qv::test {
namespace {

using capture::ByteStreamItems;
using capture::Direction;

struct Streams {
  Bytes requests;
  Bytes responses;
};

Bytes recorded(const std::string& name) {
  const std::string text = contentOf(QV_SOURCE_DIR "/examples/captures/" + name);
  return {text.begin(), text.end()};
}

std::shared_ptr<ByteStreamItems> itemsOf(const Bytes& bytes, Direction direction) {
  return std::make_shared<ByteStreamItems>(std::make_shared<capture::MemorySource>(bytes),
                                           direction);
}

// The exit code that the traffic would give, without the note about how the streams ended.
int check(const Streams& streams) {
  check::Report report({}, check::Severity::error);
  check::InputRecord requests;
  check::InputRecord responses;
  check::MessageChecker checker(report, 1, requests, responses);
  capture::StreamPairReader pairing(itemsOf(streams.requests, Direction::toAccessory),
                                    itemsOf(streams.responses, Direction::toController));
  while (const auto record = pairing.nextRecord()) checker.check(*record);
  return report.finish(true);
}

class Robustness : public testing::Test {
 protected:
  void SetUp() override {
    const std::vector documents = {
        documentFrom(contentOf(QV_SOURCE_DIR "/examples/profiles/lamp.xml"))};
    ASSERT_TRUE(QVSymbolTable::sharedSymbolTable().loadDocuments(documents));
  }
};

TEST_F(Robustness, aCutNeverBlamesThePeer) {
  const Streams clean = {recorded("pairing-clean.req"), recorded("pairing-clean.rsp")};
  ASSERT_EQ(check(clean), 0);
  for (Bytes Streams::*cut : {&Streams::requests, &Streams::responses}) {
    Streams streams = clean;
    while (!(streams.*cut).empty()) {
      (streams.*cut).pop_back();
      EXPECT_NE(check(streams), 1) << "cut at " << (streams.*cut).size();
    }
  }
}

TEST_F(Robustness, aFlippedByteBreaksNothing) {
  for (const char* name : {"pairing-clean", "pairing-faulty"}) {
    Streams streams = {recorded(std::string(name) + ".req"), recorded(std::string(name) + ".rsp")};
    for (Bytes Streams::*flipped : {&Streams::requests, &Streams::responses}) {
      for (std::uint8_t& byte : streams.*flipped) {
        byte ^= 0x81;
        const int exit = check(streams);
        EXPECT_TRUE(exit == 0 || exit == 1 || exit == 5) << exit;
        byte ^= 0x81;
      }
    }
  }
}

// Everything that `qvcheck show` writes of the streams.
std::string shown(const Streams& streams) {
  std::ostringstream out;
  check::ViewPage page(out, false);
  check::MessageReader reader(1);
  check::AttributeNames names;
  capture::StreamPairReader pairing(itemsOf(streams.requests, Direction::toAccessory),
                                    itemsOf(streams.responses, Direction::toController));
  while (const auto record = pairing.nextRecord()) {
    if (record->message() == nullptr) continue;
    const auto read = reader.read(*record, *record->message(), 1, "input");
    names.learn(read.typed.get());
    check::showMessage(page, read, *record->message(), names);
  }
  return out.str();
}

TEST(ShowRobustness, whateverIsCapturedIsPrintable) {
  const std::string traffic = QV_SOURCE_DIR "/tests/captures/traffic/";
  const std::vector documents = {documentFrom(contentOf(traffic + "pairing.xml"))};
  ASSERT_TRUE(QVSymbolTable::sharedSymbolTable().loadDocuments(documents));
  for (const char* name : {"json-clean", "field-faults"}) {
    Streams streams = {readableBytes(contentOf(traffic + name + "/request")),
                       readableBytes(contentOf(traffic + name + "/response"))};
    for (Bytes Streams::*flipped : {&Streams::requests, &Streams::responses}) {
      for (std::uint8_t& byte : streams.*flipped) {
        byte ^= 0x60;
        const std::string text = shown(streams);
        EXPECT_TRUE(isValidUTF8(bytesOf(text)));
        EXPECT_TRUE(
            std::ranges::none_of(text, [](char c) { return c < ' ' && c >= 0 && c != '\n'; }));
        byte ^= 0x60;
      }
    }
  }
}

}  // namespace
}  // namespace qv::test
