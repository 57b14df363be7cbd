#include "capture/packets/packet_segments.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "capture/packets/ip_fragments.h"
#include "tests/capture/packet_language.h"
#include "tests/support/expectations.h"

namespace qv::capture::test {
namespace {

constexpr std::array kFiles = {"packets/link-layers.txt", "packets/ip.txt", "packets/fragments.txt",
                               "packets/files.txt", "packets/damage.txt"};

std::string read(Bytes bytes, std::size_t pieceSize = SIZE_MAX) {
  return segmentsOf(std::make_shared<MemorySource>(std::move(bytes), pieceSize));
}

TEST(PacketSegments, ComeFromEveryForm) {
  for (const char* file : kFiles) {
    qv::test::expectAnswers(file, [](const auto& lines) { return read(packetFileOf(lines)); });
  }
}

TEST(PacketSegments, AreTheSameWhateverThePieces) {
  for (const char* file : kFiles) {
    for (const auto& lines : qv::test::casesIn(file)) {
      const Bytes bytes = packetFileOf(lines);
      if (bytes.size() > 10000) continue;
      EXPECT_EQ(read(bytes, 1), read(bytes)) << file << ": " << lines[0];
    }
  }
}

// What is whole before a cut is used, and every cut but one between two parts is told.
TEST(PacketSegments, AreUsedUpToACut) {
  for (const char* name : {"le us", "pcapng"}) {
    const bool isPcap = name[0] == 'l';
    const std::vector<std::string> lines =
        isPcap ? std::vector<std::string>{"pcap:LE,us,1", "packet eth:0800 ip4 tcp \"GET\"",
                                          "packet eth:86dd ip6 tcp \"PUT\""}
               : std::vector<std::string>{"shb:LE", "idb:1", "epb:0 eth:0800 ip4 tcp \"GET\"",
                                          "epb:0 eth:86dd ip6 tcp \"PUT\""};
    const Bytes whole = packetFileOf(lines);
    const std::size_t fileHeader = isPcap ? 24 : 28;
    const std::size_t first = packetFileOf({lines.begin(), lines.end() - 1}).size();
    const std::string text = read(whole);
    const std::string segment = text.substr(0, text.find('\n') + 1);
    const std::size_t interface = isPcap ? 24 : 48;
    for (std::size_t cut = fileHeader; cut < whole.size(); ++cut) {
      const std::size_t packets = cut < first ? 0 : 1;
      const bool between = cut == fileHeader || cut == interface || cut == first;
      const std::size_t begin = cut < interface ? fileHeader : cut < first ? interface : first;
      std::string expected = packets == 0 ? "" : segment;
      if (!between) {
        expected += fmt::format(
            "truncated @{}+{} packet {}: the file ends at byte {}, inside "
            "packet {} at byte {}\n",
            begin, cut - begin, packets + 1, cut, packets + 1, begin);
      }
      expected += fmt::format("{}, {} packets\n", isPcap ? "pcap" : "pcapng", packets);
      EXPECT_EQ(read(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut))),
                expected);
    }
  }
}

// Gives a file in two pieces and tells when somebody waits for the second.
class WaitingSource : public ByteSource {
 public:
  WaitingSource(const Bytes& bytes, std::size_t first) : bytes_(bytes), first_(first) {}
  std::size_t read(std::span<std::uint8_t> destination) override {
    if (given_ == first_) waitedFor = true;
    const std::size_t end = given_ < first_ ? first_ : bytes_.size();
    const std::size_t count = std::min(destination.size(), end - given_);
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(given_), count, destination.begin());
    given_ += count;
    return count;
  }
  bool waitedFor = false;

 private:
  Bytes bytes_;
  std::size_t first_;
  std::size_t given_ = 0;
};

TEST(PacketSegments, ComeAsSoonAsTheirPacketIsThere) {
  for (const qv::test::Case& begin :
       {qv::test::Case{"pcap:LE,us,101", "packet ip4 tcp \"GET\""},
        qv::test::Case{"shb:LE", "idb:101", "epb:0 ip4 tcp \"GET\""}}) {
    qv::test::Case lines = begin;
    lines.push_back(lines.back());
    const auto source =
        std::make_shared<WaitingSource>(packetFileOf(lines), packetFileOf(begin).size());
    const auto segments = PacketSegments::open(source);
    EXPECT_TRUE(segments->next());
    EXPECT_FALSE(source->waitedFor);
    EXPECT_TRUE(segments->next());
    EXPECT_FALSE(segments->next());
  }
}

TEST(IPFragments, StayWithinTheirLimits) {
  IPFragments fragments({.packets = 3, .bytes = 1900});
  const Bytes bytes(800);
  const auto add = [&](std::uint32_t identification, std::size_t length) {
    IPPacket packet;
    packet.payload = {ByteView(bytes).first(length), length};
    packet.isFragment = packet.moreFragments = true;
    packet.identification = identification;
    fragments.add(packet, {.number = identification, .timeNs = {}});
    return std::pair(fragments.overLimits().count, fragments.overLimits().first.number);
  };
  using Counts = std::pair<std::uint64_t, std::uint64_t>;
  EXPECT_EQ(add(1, 8), Counts(0, 0));
  EXPECT_EQ(add(2, 8), Counts(0, 0));
  EXPECT_EQ(add(3, 8), Counts(0, 0));
  EXPECT_EQ(add(4, 8), Counts(1, 1));    // too many packets
  EXPECT_EQ(add(5, 800), Counts(2, 1));  // and again
  EXPECT_EQ(add(6, 800), Counts(4, 1));  // and too many bytes
  fragments.finish();
  EXPECT_EQ(fragments.incomplete().count, 2u);
}

TEST(Endpoint, PrintsLikeAnAddressWithItsPort) {
  const auto textOf = [](std::array<std::uint16_t, 8> groups) {
    Endpoint endpoint{.address = {}, .isIPv6 = true, .port = 80};
    for (std::size_t index = 0; index < 16; ++index) {
      endpoint.address[index] = static_cast<std::uint8_t>(groups[index / 2] >> (index % 2 ? 0 : 8));
    }
    return endpoint.text();
  };
  EXPECT_EQ(textOf({}), "[::]:80");
  EXPECT_EQ(textOf({0x2001, 0xdb8, 0, 0, 0, 0, 0, 7}), "[2001:db8::7]:80");
  EXPECT_EQ(textOf({0x2001, 0xdb8, 0, 1, 0, 0, 1, 0}), "[2001:db8:0:1::1:0]:80");
  EXPECT_EQ(textOf({1, 0, 0, 2, 0, 0, 3, 4}), "[1::2:0:0:3:4]:80");
  EXPECT_EQ(textOf({1, 2, 3, 4, 5, 6, 0, 0}), "[1:2:3:4:5:6::]:80");
  EXPECT_EQ(textOf({0, 0, 0, 0, 0, 0xffff, 0xc000, 0x207}), "[::ffff:c000:207]:80");
}

}  // namespace
}  // namespace qv::capture::test
