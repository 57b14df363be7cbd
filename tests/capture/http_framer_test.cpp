#include "capture/http_framer.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "tests/capture/stream_dump.h"

namespace qv::capture::test {
namespace {

using namespace std::string_literals;

constexpr Direction kIn = Direction::toAccessory;
constexpr Direction kOut = Direction::toController;

struct Sample {
  const char* name;
  Direction direction;
  std::string stream;
  std::string items;
  std::uint64_t limit = FramingLimits().messageBytes;
};

const std::string kBlank = "\r\n";
const std::string kGet = "GET /a HTTP/1.1\r\n\r\n";
const std::string kPut = "PUT /a HTTP/1.1\r\n";
const std::string kOK = "HTTP/1.1 200 OK\r\n";
const std::string kChunked = kOK + "Transfer-Encoding: chunked\r\n\r\n";
const std::string kNoContent = "HTTP/1.1 204 No Content\r\n";

const Sample kSamples[] = {
    {"pipelined requests, empty lines at the end", kIn,
     kGet + kPut + "Content-Length: 3\r\n\r\n\x06\x01\x01" + kGet + "\r\n\r",
     "request [0,19) header [0,17) none\n"
     "request [19,60) header [19,55) contentLength \"\x06\x01\x01\" 0@57\n"
     "request [60,79) header [60,77) none\n"
     "damage [79,82) 3 bytes of empty lines after the last message\n"},
    {"responses and an event", kOut,
     "HTTP/1.1 100 Continue\r\n\r\n" + kOK +
         "content-length: 2\r\n\r\n{}EVENT/1.0 200 OK\r\nContent-Length: 2\r\n\r\n[]" + kNoContent +
         kBlank,
     "informational [0,25) header [0,23) none\n"
     "response [25,65) header [25,61) contentLength \"{}\" 0@63\n"
     "event [65,106) header [65,102) contentLength \"[]\" 0@104\n"
     "response [106,133) header [106,131) none\n"},
    {"bare LF, bare CR and empty lines before the start line", kIn,
     "\r\n\nPUT /a HTTP/1.1\nContent-Length: 1\r\rx" + kPut + "Content-Length: 1\n\r\n\n",
     "request [0,39) header [3,37) contentLength \"x\" 0@38\n"
     "  [0,3) empty lines before the start line\n"
     "  [18,19) line ended by a bare LF\n"
     "  [36,37) line ended by a bare CR\n"
     "request [39,77) header [39,74) contentLength \"\\n\" 0@76\n"
     "  [73,74) line ended by a bare LF\n"},
    {"Content-Length folded, spaced, zero, repeated, differing, signed", kOut,
     kOK + "Content-Length :\r\n 0\r\n\r\n" + kOK +
         "Content-Length: 2, 2\r\nContent-Length: 3\r\n\r\n{}" + kOK +
         "Content-Length: +2\r\n\r\n{}",
     "response [0,41) header [0,39) contentLength\n"
     "  [17,39) Content-Length is folded\n"
     "  [17,32) white space between Content-Length and its colon\n"
     "response [41,103) header [41,99) contentLength \"{}\" 0@101\n"
     "  [58,80) Content-Length stands more than once\n"
     "  [80,99) Content-Length 2 and 3 differ; the first is used\n"
     "response [103,144) header [103,140) contentLength \"{}\" 0@142\n"
     "  [120,140) Content-Length has a sign\n"},
    {"Content-Length that cannot be read: the next message is searched", kIn,
     kPut + "Content-Length: 2x\r\n\r\n{}" + kPut + "Content-Length: -1\r\n\r\n" + kGet,
     "request [0,39) header [0,37) none -- the length of the body cannot be told (end guessed)\n"
     "  [17,37) Content-Length is no decimal number\n"
     "damage [39,41) 2 bytes that begin no message\n"
     "request [41,80) header [41,78) none -- the length of the body cannot be told (end guessed)\n"
     "  [58,78) Content-Length has a sign\n"
     "  [58,78) Content-Length is no decimal number\n"
     "request [80,99) header [80,97) none\n"},
    {"Content-Length beyond 64 bits, a body that holds another message", kOut,
     kOK + "Content-Length: 99999999999999999999\r\n\r\n{}" + kNoContent + kBlank,
     "response [0,86) header [0,55) contentLength \"{}HTTP/1.1 204 No Content\\r\\n\\r\\n\" 0@57 "
     "-- the capture ends inside the body\n"
     "  [17,55) Content-Length exceeds 64 bits\n"
     "  [59,59) the body holds what looks like another start line\n"},
    {"chunks with an extension, trailers, bare line ends, another coding", kOut,
     kOK +
         "Content-Length: 9\r\ntransfer-encoding: gzip, Chunked;q\r\n\r\n3;a=b\r\n{\"a\r\n00A "
         "\r\n\": [1, 2]}\n0\rX: y\r\n\r\n" +
         kChunked + "0\r\n" + kNoContent + kBlank,
     "response [0,113) header [0,72) chunked \"{\"a\": [1, 2]}\" 0@81 3@92\n"
     "  [36,72) unknown transfer coding; the body is left in it\n"
     "  [36,72) Content-Length beside Transfer-Encoding; Transfer-Encoding decides\n"
     "  [102,103) line ended by a bare LF\n"
     "  [104,105) line ended by a bare CR\n"
     "  [105,109) trailer fields follow the last chunk; they are not looked at\n"
     "response [113,163) header [113,158) chunked\n"
     "  [163,163) no empty line between the last chunk and the next message\n"
     "response [163,190) header [163,188) none\n"},
    {"chunk sizes and data that cannot be read", kOut,
     kChunked + "2\r\n{}\r\n2x\r\n[]\r\n" + kChunked + "10000000000000000\r\n" + kChunked +
         "1\r\n{}\r\n0\r\n\r\n" + kChunked + "2\r\n{}" + kNoContent + kBlank,
     "response [0,54) header [0,45) chunked \"{}\" 0@50 -- the chunked coding of the body cannot "
     "be read on (end guessed)\n"
     "  [54,54) chunk size is no hexadecimal number\n"
     "damage [54,62) 8 bytes that begin no message (may hide messages)\n"
     "response [62,109) header [62,107) chunked -- the chunked coding of the body cannot be read "
     "on (end guessed)\n"
     "  [109,109) chunk size exceeds 64 bits\n"
     "damage [109,128) 19 bytes that begin no message (may hide messages)\n"
     "response [128,179) header [128,173) chunked \"{\" 0@178 -- the chunked coding of the body "
     "cannot be read on (end guessed)\n"
     "  [179,179) chunk data is not followed by a line end\n"
     "damage [179,187) 8 bytes that begin no message (may hide messages)\n"
     "response [187,239) header [187,232) chunked \"{}\" 0@237 -- the chunked coding of the body "
     "cannot be read on (end guessed)\n"
     "  [239,239) chunk data is not followed by a line end\n"
     "response [239,266) header [239,264) none\n"},
    {"unknown transfer coding of a request", kIn,
     kPut + "Transfer-Encoding: gzip\r\n\r\nabc" + kGet,
     "request [0,44) header [0,42) none -- the length of the body cannot be told (end guessed)\n"
     "  [17,42) unknown transfer coding; the body is left in it\n"
     "damage [44,47) 3 bytes that begin no message\n"
     "request [47,66) header [47,64) none\n"},
    {"until the close, with another message in the body", kOut,
     kOK + "Transfer-Encoding: identity\r\n\r\n{}" + kNoContent + kBlank,
     "response [0,77) header [0,46) untilClose \"{}HTTP/1.1 204 No Content\\r\\n\\r\\n\" 0@48\n"
     "  [48,77) the body is ended by the close of the connection\n"
     "  [50,50) the body holds what looks like another start line\n"},
    {"bodies after a 204: announced, missing, chunked, stray, none", kOut,
     kNoContent + "Content-Length: 1\r\n\r\nx" + kNoContent + "Content-Length: 5\r\n\r\n" +
         kNoContent + "Transfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\n\r\n" + kNoContent +
         kBlank + "{}" + kNoContent + kBlank + "\r\n{\r\n}" + kNoContent + kBlank + "\r\n\r\n" +
         kNoContent + kBlank + "\r\n",
     "response [0,47) header [0,44) contentLength \"x\" 0@46\n"
     "response [47,93) header [47,91) none\n"
     "  [47,91) the header announces a body, but the next message follows at once\n"
     "response [93,159) header [93,146) chunked \"x\" 0@151\n"
     "response [159,188) header [159,184) strayAfter204 \"{}\" 0@186\n"
     "  [186,188) bytes that begin no message follow a 204\n"
     "response [188,221) header [188,213) strayAfter204 \"\\r\\n{\\r\\n}\" 0@215 (end guessed)\n"
     "  [215,221) bytes that begin no message follow a 204\n"
     "response [221,248) header [221,246) none\n"
     "response [248,279) header [252,277) none\n"
     "  [248,252) empty lines before the start line\n"
     "damage [279,281) 2 bytes of empty lines after the last message\n"},
    {"304 that tells the length of what it does not send", kOut,
     "HTTP/1.1 304 Not Modified\r\nContent-Length: 2\r\n\r\n" + kOK + "Content-Length: 0\r\n\r\n",
     "response [0,48) header [0,46) none\n"
     "  [0,46) the header announces a body, but the next message follows at once\n"
     "response [48,86) header [48,84) contentLength\n"},
    {"bytes before a response, TLS after it", kOut,
     "EVENT {}\r\n"s + kOK +
         "Content-Length: 2\r\n\r\n{}\x17\x03\x03\x00\x01"
         "a"s,
     "damage [0,10) 10 bytes that begin no message (may hide messages)\n"
     "response [10,50) header [10,46) contentLength \"{}\" 0@48\n"
     "damage [50,56) 6 bytes that look like TLS\n"},
    {"words and lines that are no request", kIn,
     "{\"a\": 1}\x00"
     "A"s +
         kGet + "}GET /a\r\nPUT HTTP/1.1 GETTINGCLOSERPOST /a?b HTTP/1.1\r\n\r\n}"s,
     "damage [0,10) 10 bytes that begin no message\n"
     "request [10,29) header [10,27) none\n"
     "damage [29,64) 35 bytes that begin no message (may hide messages)\n"
     "request [64,86) header [64,84) none\n"
     "damage [86,87) 1 byte that begins no message\n"},
    {"cut inside the first word", kOut, kNoContent + kBlank + "EVE",
     "response [0,27) header [0,25) none\n"
     "unknown [27,30) header [27,30) none -- the capture ends inside the header\n"},
    {"cut inside the method", kIn, kGet + "PU",
     "request [0,19) header [0,17) none\n"
     "request [19,21) header [19,21) none -- the capture ends inside the header\n"},
    {"cut inside the header", kOut, kOK + "Content-Length: 2\r\n",
     "response [0,36) header [0,36) none -- the capture ends inside the header\n"},
    {"cut inside a chunk", kOut, kChunked + "5\r\nab",
     "response [0,52) header [0,45) chunked \"ab\" 0@50 -- the capture ends inside the body\n"},
    {"cut before the empty line of a chunked body", kOut, kChunked + "1\r\na\r\n0\r\n",
     "response [0,56) header [0,45) chunked \"a\" 0@50 -- the capture ends inside the body\n"},
    {"bodies larger than the limit", kOut,
     kOK + "Content-Length: 50\r\n\r\n" + std::string(50, 'x') + kChunked +
         "8\r\n01234567\r\n8\r\n01234567\r\n0\r\n\r\n" + kNoContent + kBlank,
     "response [0,89) header [0,37) contentLength -- larger than the limit\n"
     "  [0,89) larger than the limit of 70 bytes\n"
     "response [89,167) header [89,134) chunked -- larger than the limit\n"
     "  [89,167) larger than the limit of 70 bytes\n"
     "response [167,194) header [167,192) none\n",
     70},
    {"header larger than the limit", kIn, "GET /a HTTP/1.1\r\nX: yyyyyyyyyyyyyyyyy\r\n\r\n" + kGet,
     "request [0,30) header [0,30) none -- larger than the limit (end guessed)\n"
     "  [0,30) larger than the limit of 30 bytes\n"
     "damage [30,41) 11 bytes that begin no message (may hide messages)\n"
     "request [41,60) header [41,58) none\n",
     30},
};

// The stream cut after each of its bytes.
std::vector<std::size_t> cutEverywhere(std::string_view stream) {
  std::vector<std::size_t> cuts(stream.size());
  std::iota(cuts.begin(), cuts.end(), 1);
  return cuts;
}

// Whatever an item holds stands in the stream where the item says.
void expectMirrors(std::string_view stream, const std::vector<StreamItem>& items) {
  EXPECT_TRUE(accountsForEveryByte(items, stream.size()));
  for (const StreamItem& item : items) {
    const auto* message = std::get_if<FramedMessage>(&item);
    if (message == nullptr) continue;
    EXPECT_EQ(textOf(message->header),
              stream.substr(message->headerOffset, message->header.size()));
    if (!message->body) continue;
    const std::size_t size = message->body->size();
    for (std::size_t i = 0; i < size; ++i) {
      EXPECT_EQ((*message->body)[i], static_cast<std::uint8_t>(stream[message->streamOffsetOf(i)]));
    }
    EXPECT_EQ(message->streamOffsetOf(size), message->streamOffsetOf(size - 1) + 1);
    EXPECT_EQ(message->streamOffsetOf(UINT64_MAX), message->streamOffsetOf(size));
  }
}

TEST(HTTPFramer, YieldsTheItemsHoweverTheStreamIsFed) {
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.name);
    const std::string& stream = sample.stream;
    const FramingLimits limits{sample.limit};
    const auto items = framed(sample.direction, stream, {}, limits);
    EXPECT_EQ(dump(items), sample.items);
    expectMirrors(stream, items);
    EXPECT_EQ(dump(framed(sample.direction, stream, cutEverywhere(stream), limits)), sample.items);
    for (std::size_t cut = 1; cut < stream.size(); ++cut) {
      ASSERT_EQ(dump(framed(sample.direction, stream, {cut}, limits)), sample.items)
          << "cut at " << cut;
    }
  }
}

TEST(HTTPFramer, AccountsForEveryByteOfDamagedAndCutStreams) {
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.name);
    const FramingLimits limits{sample.limit};
    const auto check = [&](const std::string& stream) {
      const auto items = framed(sample.direction, stream, {}, limits);
      expectMirrors(stream, items);
      ASSERT_EQ(dump(framed(sample.direction, stream, cutEverywhere(stream), limits)), dump(items))
          << stream;
    };
    for (std::size_t i = 0; i < sample.stream.size(); ++i) {
      check(sample.stream.substr(0, i));
      for (const int flip : {0x01, 0x07, 0x20, 0xff}) {
        std::string stream = sample.stream;
        stream[i] = static_cast<char>(stream[i] ^ flip);
        check(stream);
      }
    }
  }
}

TEST(AccountsForEveryByte, RefusesGapsOverlapsAndPointersOutside) {
  using Change = void (*)(FramedMessage&, Damage&);
  const std::pair<const char*, Change> kChanges[] = {
      {"gap", [](FramedMessage&, Damage& damage) { ++damage.offset, --damage.length; }},
      {"overlap", [](FramedMessage&, Damage& damage) { --damage.offset, ++damage.length; }},
      {"short", [](FramedMessage&, Damage& damage) { --damage.length; }},
      {"late start", [](FramedMessage& message, Damage&) { ++message.beginOffset; }},
      {"no header", [](FramedMessage& message, Damage&) { message.header.clear(); }},
      {"header outside", [](FramedMessage& message, Damage&) { message.header.resize(50); }},
      {"body outside", [](FramedMessage& message, Damage&) { message.body->resize(9); }},
      {"body in the header",
       [](FramedMessage& message, Damage&) {
         message.segments[0] = {0, 3};
       }},
      {"body without a place", [](FramedMessage& message, Damage&) { message.segments.clear(); }},
      {"note outside",
       [](FramedMessage& message, Damage&) {
         message.notes.push_back({FramingNoteKind::bareLineFeed, "", 40, 2});
       }},
  };
  const std::string stream = kOK + "Content-Length: 2\r\n\r\n{}damage";
  const auto items = framed(kOut, stream);
  ASSERT_TRUE(accountsForEveryByte(items, stream.size()));
  for (const auto& [name, change] : kChanges) {
    auto changed = items;
    change(std::get<FramedMessage>(changed.at(0)), std::get<Damage>(changed.at(1)));
    EXPECT_FALSE(accountsForEveryByte(changed, stream.size())) << name;
  }
}

}  // namespace
}  // namespace qv::capture::test
