// From a packet file of household traffic (traffic_corpus.py) to the bytes of each connection in
// order, by libtins and by ours; and ours with the bytes cut into messages, against the same work
// of libtins. All of it begins with opening the file.
#include <benchmark/benchmark.h>
#include <tins/tcp_ip/stream_follower.h>
#include <tins/tins.h>

#include <array>
#include <unordered_map>

#include "capture/http/http_framer.h"
#include "capture/packets/packet_segments.h"
#include "capture/tcp/tcp_connections.h"
#include "support/require.h"

namespace {

using namespace qv;
using namespace qv::capture;
using qv::bench::require;

struct Framers {
  std::array<HTTPFramer, 2> each{HTTPFramer(Direction::toController),
                                 HTTPFramer(Direction::toAccessory)};
};

struct Account {
  std::uint64_t bytes = 0;
  std::uint64_t messages = 0;
};

// Takes every event; `framed` says whether bytes become messages.
class Events {
 public:
  explicit Events(bool framed) : framed_(framed) {}
  void take(const TCPEvent& event) {
    if (event.kind == TCPEventKind::closed) {
      if (framed_) close(event.connection);
      return;
    }
    if (event.kind == TCPEventKind::opened) return;
    require(event.kind == TCPEventKind::bytes, "a connection without gaps");
    account_.bytes += event.bytes.size();
    if (!framed_) return;
    HTTPFramer& framer = framers_[event.connection].each[event.fromFirst ? 1 : 0];
    framer.feed(event.bytes);
    drain(framer);
  }
  const Account& account() const { return account_; }

 private:
  void close(std::uint64_t connection) {
    for (HTTPFramer& framer : framers_[connection].each) {
      framer.finish();
      drain(framer);
    }
    framers_.erase(connection);
  }
  void drain(HTTPFramer& framer) {
    while (const auto item = framer.next()) {
      const auto* message = std::get_if<FramedMessage>(&*item);
      require(message != nullptr && message->complete(), "a whole message");
      ++account_.messages;
    }
  }

  bool framed_;
  Account account_;
  std::unordered_map<std::uint64_t, Framers> framers_;
};

Account readByOurs(bool framed) {
  const auto source = FileSource::open(QV_CORPUS);
  require(source != nullptr, "the packet file");
  const auto segments = PacketSegments::open(source);
  require(segments != nullptr, "the form of the packet file");
  TCPConnections connections;
  Events events(framed);
  while (const auto segment = segments->next()) {
    connections.add(*segment);
    while (const auto event = connections.next()) events.take(*event);
  }
  connections.finish();
  while (const auto event = connections.next()) events.take(*event);
  return events.account();
}

std::uint64_t readByLibtins() {
  std::uint64_t bytes = 0;
  Tins::TCPIP::StreamFollower follower;
  follower.new_stream_callback([&](Tins::TCPIP::Stream& stream) {
    stream.client_data_callback(
        [&](Tins::TCPIP::Stream& one) { bytes += one.client_payload().size(); });
    stream.server_data_callback(
        [&](Tins::TCPIP::Stream& one) { bytes += one.server_payload().size(); });
  });
  Tins::FileSniffer sniffer(QV_CORPUS);
  sniffer.sniff_loop([&](Tins::PDU& packet) {
    follower.process_packet(packet);
    return true;
  });
  return bytes;
}

// What is read is the same on all sides.
std::uint64_t bytesDue() {
  static const std::uint64_t kBytes = readByLibtins();
  return kBytes;
}

void report(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytesDue()));
}

void ours(benchmark::State& state, bool framed) {
  const std::uint64_t due = bytesDue();
  for (auto _ : state) {
    const Account account = readByOurs(framed);
    require(account.bytes == due && (account.messages > 0) == framed, "the bytes of the file");
  }
  report(state);
}

void libtins(benchmark::State& state) {
  const std::uint64_t due = bytesDue();
  for (auto _ : state) require(readByLibtins() == due, "the bytes of the file");
  report(state);
}

BENCHMARK_CAPTURE(ours, bytes, false)->Name("bytes/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(libtins)->Name("bytes/libtins")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ours, messages, true)->Name("messages/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(libtins)->Name("messages/libtins")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
