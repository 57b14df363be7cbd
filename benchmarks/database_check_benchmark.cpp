// A JSON text of an attribute database to a verdict on every key, the tree built and destroyed:
// ours against a loaded profile, beside a RapidJSON document checked by RapidJSON's schema
// validator or by valijson.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "benchmarks/support/database_generator.h"
#include "benchmarks/support/json_schemas.h"
#include "benchmarks/support/loaded_profile.h"
#include "benchmarks/support/our_check.h"
#include "benchmarks/support/rapidjson_peer.h"
#include "benchmarks/support/require.h"
#include "benchmarks/support/sample_database.h"
#include "benchmarks/support/valijson_peer.h"
#include "qvparsersupport/json/attribute_database_objects.h"

namespace {

constexpr std::size_t kBytes = 100'000;

using qv::bench::require;

template <class Accepts>
void run(benchmark::State& state, const Accepts& accepts) {
  const std::string text = qv::bench::attributeDatabase(kBytes);
  for (auto _ : state) {
    bool sound = accepts(text);
    require(sound, "the generated database is accepted");
    benchmark::DoNotOptimize(sound);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void ours(benchmark::State& state) {
  const auto accepts = qv::bench::isSound<qv::QVIPAttributeDatabaseObject>;
  qv::bench::checkDatabaseChecker(accepts);
  run(state, accepts);
}

template <class Peer>
void peer(benchmark::State& state) {
  Peer checker(qv::bench::databaseSchema());
  const auto accepts = [&](std::string_view text) { return checker.accepts(text); };
  qv::bench::checkDatabaseChecker(accepts);
  run(state, accepts);
}

void withoutValueRules(benchmark::State& state) {
  qv::bench::RapidJSONPeer checker(qv::bench::databaseSchema(false));
  run(state, [&](std::string_view text) { return checker.accepts(text); });
}

BENCHMARK(ours)->Name("database_check/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(peer<qv::bench::RapidJSONPeer>)
    ->Name("database_check/rapidjson_schema")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(withoutValueRules)
    ->Name("database_check/rapidjson_schema_without_value_rules")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(peer<qv::bench::ValijsonPeer>)
    ->Name("database_check/valijson")
    ->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  qv::bench::loadGeneratedProfile(qv::bench::kDatabaseCharacteristics);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
