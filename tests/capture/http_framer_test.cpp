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

const std::string kGet = "GET /a HTTP/1.1\r\n\r\n";
const std::string kOK = "HTTP/1.1 200 OK\r\n";
const std::string kNoContent = "HTTP/1.1 204 No Content\r\n\r\n";

const Sample kSamples[] = {
    {"pipelined requests", kIn,
     "GET /accessories HTTP/1.1\r\nHost: a\r\n\r\n"
     "POST /pairings HTTP/1.1\r\nContent-Length: 3\r\n\r\n\x06\x01\x01"
     "POST /identify HTTP/1.1\r\n\r\n",
     "request [0,38) header [0,36) none\n"
     "request [38,87) header [38,82) contentLength \"\x06\x01\x01\" 0@84\n"
     "request [87,114) header [87,112) none\n"},
    {"responses and an event", kOut,
     "HTTP/1.1 100 Continue\r\n\r\n"
     "HTTP/1.1 200 OK\r\ncontent-length: 2\r\n\r\n{}"
     "EVENT/1.0 200 OK\r\nContent-Length: 2\r\n\r\n[]"
     "HTTP/1.1 204 No Content\r\n\r\n",
     "informational [0,25) header [0,23) none\n"
     "response [25,65) header [25,61) contentLength \"{}\" 0@63\n"
     "event [65,106) header [65,102) contentLength \"[]\" 0@104\n"
     "response [106,133) header [106,131) none\n"},
    {"bare LF, bare CR and empty lines before the start line", kIn,
     "\r\n\nPUT /a HTTP/1.1\nContent-Length: 1\r\rx",
     "request [0,39) header [3,37) contentLength \"x\" 0@38\n"
     "  [0,3) empty lines before the start line\n"
     "  [18,19) line ended by a bare LF\n"
     "  [36,37) line ended by a bare CR\n"},
    {"CRLF after a bare LF is one empty line", kOut, kOK + "Content-Length:1\n\r\n\n",
     "response [0,37) header [0,34) contentLength \"\\n\" 0@36\n"
     "  [33,34) line ended by a bare LF\n"},
    {"empty lines at the end", kIn, kGet + "\r\n\r",
     "request [0,19) header [0,17) none\n"
     "damage [19,22) 3 bytes of empty lines after the last message\n"},
    {"Content-Length of zero, folded, with a space before its colon", kOut,
     kOK + "Content-Length :\r\n 0\r\n\r\n" + kNoContent,
     "response [0,41) header [0,39) contentLength\n"
     "  [17,39) Content-Length is folded\n"
     "  [17,32) white space between Content-Length and its colon\n"
     "response [41,68) header [41,66) none\n"},
    {"Content-Length repeated and differing: the first is used", kOut,
     kOK + "Content-Length: 2, 2\r\nContent-Length: 3\r\n\r\n{}" + kNoContent,
     "response [0,62) header [0,58) contentLength \"{}\" 0@60\n"
     "  [17,39) Content-Length stands more than once\n"
     "  [39,58) Content-Length 2 and 3 differ; the first is used\n"
     "response [62,89) header [62,87) none\n"},
    {"Content-Length with a sign", kOut, kOK + "Content-Length: +2\r\n\r\n{}" + kNoContent,
     "response [0,41) header [0,37) contentLength \"{}\" 0@39\n"
     "  [17,37) Content-Length has a sign\n"
     "response [41,68) header [41,66) none\n"},
    {"Content-Length that cannot be read: the next message is searched", kOut,
     kOK + "Content-Length: 2x\r\n\r\n{}" + kNoContent,
     "response [0,39) header [0,37) none -- the length of the body cannot be told (end guessed)\n"
     "  [17,37) Content-Length is no decimal number\n"
     "damage [39,41) 2 bytes that begin no message\n"
     "response [41,68) header [41,66) none\n"},
    {"Content-Length below zero in a request", kIn,
     "PUT /a HTTP/1.1\r\nContent-Length: -1\r\n\r\n{}" + kGet,
     "request [0,39) header [0,37) none -- the length of the body cannot be told (end guessed)\n"
     "  [17,37) Content-Length has a sign\n"
     "  [17,37) Content-Length is no decimal number\n"
     "damage [39,41) 2 bytes that begin no message\n"
     "request [41,60) header [41,58) none\n"},
    {"Content-Length beyond 64 bits", kOut,
     kOK + "Content-Length: 99999999999999999999\r\n\r\n{}" + kNoContent,
     "response [0,86) header [0,55) contentLength \"{}HTTP/1.1 204 No Content\\r\\n\\r\\n\" 0@57 "
     "-- the capture ends inside the body\n"
     "  [17,55) Content-Length exceeds 64 bits\n"
     "  [59,59) the body holds what looks like another start line\n"},
    {"Content-Length beside Transfer-Encoding", kOut,
     kOK + "Content-Length: 9\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n" +
         kNoContent,
     "response [0,78) header [0,64) chunked \"{}\" 0@69\n"
     "  [36,64) Content-Length beside Transfer-Encoding; Transfer-Encoding decides\n"
     "response [78,105) header [78,103) none\n"},
    {"chunks with an extension, trailers and bare line ends", kOut,
     kOK +
         "transfer-encoding: Chunked\r\n\r\n3;a=b\r\n{\"a\r\n00A \r\n\": [1, 2]}\n0\rX: y\r\n\r\n" +
         kNoContent,
     "response [0,86) header [0,45) chunked \"{\"a\": [1, 2]}\" 0@54 3@65\n"
     "  [75,76) line ended by a bare LF\n"
     "  [77,78) line ended by a bare CR\n"
     "  [78,82) trailer fields follow the last chunk; they are not looked at\n"
     "response [86,113) header [86,111) none\n"},
    {"chunked body without an empty line at its end", kOut,
     kOK + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n" + kNoContent,
     "response [0,57) header [0,45) chunked \"{}\" 0@50\n"
     "  [57,57) no empty line between the last chunk and the next message\n"
     "response [57,84) header [57,82) none\n"},
    {"chunk size that is no number", kOut,
     kOK + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n2x\r\n[]\r\n" + kNoContent,
     "response [0,54) header [0,45) chunked \"{}\" 0@50 -- the chunked coding of the body cannot "
     "be read on (end guessed)\n"
     "  [54,54) chunk size is no hexadecimal number\n"
     "damage [54,62) 8 bytes that begin no message (may hide messages)\n"
     "response [62,89) header [62,87) none\n"},
    {"chunk size beyond 64 bits", kIn,
     "PUT /a HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n10000000000000000\r\nx\r\n" + kGet,
     "request [0,47) header [0,45) chunked -- the chunked coding of the body cannot be read on "
     "(end guessed)\n"
     "  [47,47) chunk size exceeds 64 bits\n"
     "damage [47,69) 22 bytes that begin no message (may hide messages)\n"
     "request [69,88) header [69,86) none\n"},
    {"chunk data longer than its size", kOut,
     kOK + "Transfer-Encoding: chunked\r\n\r\n1\r\n{}\r\n0\r\n\r\n" + kNoContent,
     "response [0,51) header [0,45) chunked \"{\" 0@50 -- the chunked coding of the body cannot be "
     "read on (end guessed)\n"
     "  [51,51) chunk data is not followed by a line end\n"
     "damage [51,59) 8 bytes that begin no message (may hide messages)\n"
     "response [59,86) header [59,84) none\n"},
    {"chunked body followed at once by a message", kOut,
     kOK + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}" + kNoContent,
     "response [0,52) header [0,45) chunked \"{}\" 0@50 -- the chunked coding of the body cannot "
     "be read on (end guessed)\n"
     "  [52,52) chunk data is not followed by a line end\n"
     "response [52,79) header [52,77) none\n"},
    {"unknown transfer coding of a response: until the close", kOut,
     kOK + "Transfer-Encoding: gzip\r\n\r\nabc",
     "response [0,47) header [0,42) untilClose \"abc\" 0@44\n"
     "  [17,42) unknown transfer coding; the body is left in it\n"
     "  [44,47) the body is ended by the close of the connection\n"},
    {"unknown transfer coding of a request", kIn,
     "PUT /a HTTP/1.1\r\nTransfer-Encoding: gzip\r\n\r\nabc" + kGet,
     "request [0,44) header [0,42) none -- the length of the body cannot be told (end guessed)\n"
     "  [17,42) unknown transfer coding; the body is left in it\n"
     "damage [44,47) 3 bytes that begin no message\n"
     "request [47,66) header [47,64) none\n"},
    {"gzip, then chunked", kOut,
     kOK + "Transfer-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nz\r\n0\r\n\r\n",
     "response [0,83) header [0,70) chunked \"z\" 0@75\n"
     "  [17,42) unknown transfer coding; the body is left in it\n"},
    {"until the close, with another message in the body", kOut, kOK + "\r\n{}" + kNoContent,
     "response [0,48) header [0,17) untilClose \"{}HTTP/1.1 204 No Content\\r\\n\\r\\n\" 0@19\n"
     "  [19,48) the body is ended by the close of the connection\n"
     "  [21,21) the body holds what looks like another start line\n"},
    {"204 with an announced body", kOut,
     "HTTP/1.1 204 No Content\r\nContent-Length: 1\r\n\r\nx" + kNoContent,
     "response [0,47) header [0,44) contentLength \"x\" 0@46\n"
     "response [47,74) header [47,72) none\n"},
    {"204 with an announced body that does not come", kOut,
     "HTTP/1.1 204 No Content\r\nContent-Length: 5\r\n\r\n" + kNoContent,
     "response [0,46) header [0,44) none\n"
     "  [0,44) the header announces a body, but the next message follows at once\n"
     "response [46,73) header [46,71) none\n"},
    {"204 with a chunked body", kOut,
     "HTTP/1.1 204 No Content\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n" + kNoContent,
     "response [0,60) header [0,53) chunked\n"
     "response [60,87) header [60,85) none\n"},
    {"204 with a stray body", kOut, kNoContent + "{}" + kNoContent + "\r\n{\r\n}",
     "response [0,29) header [0,25) strayAfter204 \"{}\" 0@27\n"
     "  [27,29) bytes that begin no message follow a 204\n"
     "response [29,62) header [29,54) strayAfter204 \"\\r\\n{\\r\\n}\" 0@56 (end guessed)\n"
     "  [56,62) bytes that begin no message follow a 204\n"},
    {"204, then empty lines", kOut, kNoContent + "\r\n\r\n" + kNoContent + "\r\n",
     "response [0,27) header [0,25) none\n"
     "response [27,58) header [31,56) none\n"
     "  [27,31) empty lines before the start line\n"
     "damage [58,60) 2 bytes of empty lines after the last message\n"},
    {"304 that tells the length of what it does not send", kOut,
     "HTTP/1.1 304 Not Modified\r\nContent-Length: 2\r\n\r\n" + kNoContent,
     "response [0,48) header [0,46) none\n"
     "  [0,46) the header announces a body, but the next message follows at once\n"
     "response [48,75) header [48,73) none\n"},
    {"bytes before the first response", kOut, "EVENT {}\r\n" + kNoContent,
     "damage [0,10) 10 bytes that begin no message (may hide messages)\n"
     "response [10,37) header [10,35) none\n"},
    {"bytes before a request in the same line", kIn,
     "{\"a\": 1}\x00"
     "A"s +
         kGet,
     "damage [0,10) 10 bytes that begin no message\n"
     "request [10,29) header [10,27) none\n"},
    {"words and lines that are no request", kIn,
     "}GET /a\r\nPUT HTTP/1.1 GETTINGCLOSERPOST /a?b HTTP/1.1\r\n\r\n}",
     "damage [0,35) 35 bytes that begin no message (may hide messages)\n"
     "request [35,57) header [35,55) none\n"
     "damage [57,58) 1 byte that begins no message\n"},
    {"TLS on the port", kIn, "\x16\x03\x01\x00\x05hello"s + kGet,
     "damage [0,10) 10 bytes that look like TLS\n"
     "request [10,29) header [10,27) none\n"},
    {"TLS after a response", kOut,
     kOK + "Content-Length: 2\r\n\r\n{}\x17\x03\x03\x00\x01"
           "a"s,
     "response [0,40) header [0,36) contentLength \"{}\" 0@38\n"
     "damage [40,46) 6 bytes that look like TLS\n"},
    {"cut inside the first word", kOut, kNoContent + "EVE",
     "response [0,27) header [0,25) none\n"
     "unknown [27,30) header [27,30) none -- the capture ends inside the header\n"},
    {"cut inside the method", kIn, kGet + "PU",
     "request [0,19) header [0,17) none\n"
     "request [19,21) header [19,21) none -- the capture ends inside the header\n"},
    {"cut inside the header", kOut, kNoContent + kOK + "Content-Length: 2\r\n",
     "response [0,27) header [0,25) none\n"
     "response [27,63) header [27,63) none -- the capture ends inside the header\n"},
    {"cut inside the body, which holds another message", kOut,
     kOK + "Content-Length: 60\r\n\r\n{}" + kNoContent,
     "response [0,68) header [0,37) contentLength \"{}HTTP/1.1 204 No Content\\r\\n\\r\\n\" 0@39 "
     "-- the capture ends inside the body\n"
     "  [41,41) the body holds what looks like another start line\n"},
    {"cut inside a chunk", kOut, kOK + "Transfer-Encoding: chunked\r\n\r\n5\r\nab",
     "response [0,52) header [0,45) chunked \"ab\" 0@50 -- the capture ends inside the body\n"},
    {"cut before the empty line of a chunked body", kOut,
     kOK + "Transfer-Encoding: chunked\r\n\r\n1\r\na\r\n0\r\n",
     "response [0,56) header [0,45) chunked \"a\" 0@50 -- the capture ends inside the body\n"},
    {"body larger than the limit", kOut,
     kOK + "Content-Length: 50\r\n\r\n" + std::string(50, 'x') + kNoContent,
     "response [0,89) header [0,37) contentLength -- larger than the limit\n"
     "  [0,89) larger than the limit of 60 bytes\n"
     "response [89,116) header [89,114) none\n",
     60},
    {"chunked body larger than the limit", kOut,
     kOK + "Transfer-Encoding: chunked\r\n\r\n8\r\n01234567\r\n8\r\n01234567\r\n0\r\n\r\n" +
         kNoContent,
     "response [0,78) header [0,45) chunked -- larger than the limit\n"
     "  [0,78) larger than the limit of 70 bytes\n"
     "response [78,105) header [78,103) none\n",
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
    for (std::size_t i = 0; i < message->body->size(); ++i) {
      EXPECT_EQ((*message->body)[i], static_cast<std::uint8_t>(stream[message->streamOffsetOf(i)]));
    }
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

TEST(HTTPFramer, TellsTheEndOfAChunkedBodyInTheStream) {
  const auto items =
      framed(kOut, kOK + "Transfer-Encoding: chunked\r\n\r\n2\r\nab\r\n1\r\nc\r\n0\r\n\r\n");
  const auto& message = std::get<FramedMessage>(items.at(0));
  EXPECT_EQ(message.streamOffsetOf(1), 51U);
  EXPECT_EQ(message.streamOffsetOf(2), 57U);
  EXPECT_EQ(message.streamOffsetOf(3), 58U);
  EXPECT_EQ(message.streamOffsetOf(UINT64_MAX), 58U);
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
