// The body of a read answer and of a write request, 20 entries each, to a verdict: ours beside a
// RapidJSON document checked by RapidJSON's schema validator.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "benchmarks/support/json_schemas.h"
#include "benchmarks/support/our_check.h"
#include "benchmarks/support/rapidjson_peer.h"
#include "benchmarks/support/require.h"
#include "benchmarks/support/traffic_generator.h"
#include "qvparsersupport/json/characteristic_access_objects.h"

namespace {

constexpr std::size_t kEntries = 20;

using qv::bench::require;

// Bodies that both sides refuse.
constexpr std::string_view kBrokenReads[] = {
    R"({"characteristic":[]})",
    R"({"characteristics":{}})",
    R"({"characteristics":[{"aid":1,"value":5}]})",
    R"({"characteristics":[{"aid":"1","iid":9,"value":5}]})",
    R"({"characteristics":[{"aid":1,"iid":9,"value":5},7]})",
    R"({"characteristics":[{"aid":1,"iid":9,"value":5]})",
};
constexpr std::string_view kBrokenWrites[] = {
    R"({"characteristics":[{"iid":9,"value":5}]})",
    R"({"characteristics":[{"aid":1,"iid":9,"ev":"yes"}]})",
    R"({"characteristics":[{"aid":1,"iid":9,"remote":2,"value":5}]})",
    R"({"characteristics":[{"aid":1,"iid":9,"authData":5,"value":5}]})",
};

template <class Accepts, class BrokenTexts>
void run(benchmark::State& state, const Accepts& accepts, const std::string& text,
         const BrokenTexts& broken) {
  for (const std::string_view each : broken) require(!accepts(each), each);
  for (auto _ : state) {
    bool sound = accepts(text);
    require(sound, text);
    benchmark::DoNotOptimize(sound);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void readOurs(benchmark::State& state) {
  run(state, qv::bench::isSound<qv::QVIPMultipleCharacteristicReadObject>,
      qv::bench::readBody(kEntries), kBrokenReads);
}

void writeOurs(benchmark::State& state) {
  run(state, qv::bench::isSound<qv::QVIPMultipleCharacteristicWriteObject>,
      qv::bench::writeBody(kEntries), kBrokenWrites);
}

void readPeer(benchmark::State& state) {
  qv::bench::RapidJSONPeer peer(qv::bench::readSchema());
  run(
      state, [&](std::string_view text) { return peer.accepts(text); },
      qv::bench::readBody(kEntries), kBrokenReads);
}

void writePeer(benchmark::State& state) {
  qv::bench::RapidJSONPeer peer(qv::bench::writeSchema());
  run(
      state, [&](std::string_view text) { return peer.accepts(text); },
      qv::bench::writeBody(kEntries), kBrokenWrites);
}

BENCHMARK(readOurs)->Name("characteristic_read/ours");
BENCHMARK(readPeer)->Name("characteristic_read/rapidjson_schema");
BENCHMARK(writeOurs)->Name("characteristic_write/ours");
BENCHMARK(writePeer)->Name("characteristic_write/rapidjson_schema");

}  // namespace

BENCHMARK_MAIN();
