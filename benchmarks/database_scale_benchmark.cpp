// Time per byte of checking an attribute database of 16 MB beside one of 100 KB. Prints the peak
// heap beside the text at the start.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "benchmarks/support/database_generator.h"
#include "benchmarks/support/heap_counter.h"
#include "benchmarks/support/loaded_profile.h"
#include "benchmarks/support/our_check.h"
#include "benchmarks/support/require.h"
#include "benchmarks/support/sample_database.h"
#include "qvparsersupport/json/attribute_database_objects.h"

namespace {

constexpr std::size_t kSmall = 100'000;
constexpr std::size_t kLarge = 16'000'000;

const auto kAccepts = qv::bench::isSound<qv::QVIPAttributeDatabaseObject>;

void check(benchmark::State& state) {
  const std::string text = qv::bench::attributeDatabase(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    qv::bench::require(kAccepts(text), "the generated database is accepted");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.counters["per_byte"] = benchmark::Counter(
      static_cast<double>(text.size()),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK(check)
    ->Name("database_scale/ours")
    ->Arg(kSmall)
    ->Arg(kLarge)
    ->Unit(benchmark::kMillisecond);

void printPeakHeap(std::size_t bytes) {
  const std::string text = qv::bench::attributeDatabase(bytes);
  qv::bench::HeapCounter counter;
  qv::bench::require(kAccepts(text), "the generated database is accepted");
  std::printf("heap while checking a database of %zu bytes: peak %.2f bytes per byte\n",
              text.size(), static_cast<double>(counter.peak()) / static_cast<double>(text.size()));
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  qv::bench::loadGeneratedProfile(qv::bench::kDatabaseCharacteristics);
  qv::bench::checkDatabaseChecker(kAccepts);
  printPeakHeap(kSmall);
  printPeakHeap(kLarge);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
