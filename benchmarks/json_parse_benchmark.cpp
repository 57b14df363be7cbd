// An attribute database into a tree of values that owns its texts: ours beside Boost.JSON with all
// memory given beforehand, and beside nlohmann/json. The peers of each benchmark stand right behind
// it, so that one run measures all alike. Trees are destroyed within the measured time.

#include <benchmark/benchmark.h>

#include <boost/json.hpp>
#include <memory>
#include <string>

#include "benchmarks/support/database_generator.h"
#include "qvparsersupport/common/json_reader.h"
#ifdef QV_WITH_NLOHMANN_JSON
#include <nlohmann/json.hpp>
#endif

namespace {

void countBytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void parseOurs(benchmark::State& state, const std::string& text) {
  for (auto _ : state) benchmark::DoNotOptimize(qv::parseJSON(qv::bytesOf(text)));
  countBytes(state, text);
}

void parseBoost(benchmark::State& state, const std::string& text) {
  const std::size_t size = text.size() * 16;
  const auto buffer = std::make_unique<unsigned char[]>(size);
  for (auto _ : state) {
    boost::json::monotonic_resource memory(buffer.get(), size);
    benchmark::DoNotOptimize(boost::json::parse(text, &memory));
  }
  countBytes(state, text);
}

#ifdef QV_WITH_NLOHMANN_JSON
void parseNlohmann(benchmark::State& state, const std::string& text) {
  for (auto _ : state) benchmark::DoNotOptimize(nlohmann::json::parse(text));
  countBytes(state, text);
}
#define QV_NLOHMANN(name, text) BENCHMARK_CAPTURE(parseNlohmann, name, text)
#else
#define QV_NLOHMANN(name, text) static_assert(true)
#endif

BENCHMARK_CAPTURE(parseOurs, database_100KB, qv::bench::attributeDatabase(100'000));
BENCHMARK_CAPTURE(parseBoost, database_100KB, qv::bench::attributeDatabase(100'000));
QV_NLOHMANN(database_100KB, qv::bench::attributeDatabase(100'000));
BENCHMARK_CAPTURE(parseOurs, database_1MB, qv::bench::attributeDatabase(1'000'000));
BENCHMARK_CAPTURE(parseBoost, database_1MB, qv::bench::attributeDatabase(1'000'000));
QV_NLOHMANN(database_1MB, qv::bench::attributeDatabase(1'000'000));

}  // namespace

BENCHMARK_MAIN();
