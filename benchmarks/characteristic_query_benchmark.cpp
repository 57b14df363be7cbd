// The ids of a read request's URL as pairs of texts: ours beside RE2, which matches the whole URL
// once and then takes pair by pair.
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <re2/re2.h>

#include <array>
#include <string>
#include <vector>

#include "benchmarks/support/require.h"
#include "qvparsersupport/ipmessages/characteristic_query.h"

namespace {

using qv::bench::require;
using Pairs = std::vector<std::array<std::string, 2>>;

std::string urlOf(std::size_t ids) {
  std::string url = "/characteristics?id=";
  for (std::size_t i = 0; i < ids; ++i) {
    fmt::format_to(std::back_inserter(url), "{}{}.{}", i == 0 ? "" : ",", 1 + i / 40, 9 + i % 40);
  }
  return url;
}

bool readOurs(const std::string& url, Pairs& pairs) {
  auto read = qv::characteristicIDsOfURL(url, nullptr);
  if (!read) return false;
  pairs = std::move(*read);
  return true;
}

bool readWithRE2(const std::string& url, Pairs& pairs) {
  static const re2::RE2 whole(R"(^/characteristics\?id=((?:\d+\.\d+,)*\d+\.\d+)$)");
  static const re2::RE2 next(R"((\d+)\.(\d+),?)");
  re2::StringPiece list;
  if (!re2::RE2::FullMatch(url, whole, &list)) return false;
  std::array<std::string, 2> pair;
  while (re2::RE2::FindAndConsume(&list, next, &pair[0], &pair[1])) pairs.push_back(pair);
  return true;
}

using Reader = bool (*)(const std::string&, Pairs&);

void checkReader(Reader read) {
  Pairs pairs;
  require(read("/characteristics?id=1.10,2.3", pairs), "a URL is read");
  require(pairs == Pairs{{"1", "10"}, {"2", "3"}}, "the pairs of a URL");
  for (const char* url : {"/characteristics?id=1.10,", "/characteristics?id=1.10&ev=1",
                          "/characteristics?id=", "/characteristics?id=1", "/characteristicsX"}) {
    require(!read(url, pairs), url);
  }
}

void query(benchmark::State& state, Reader read) {
  checkReader(read);
  const auto ids = static_cast<std::size_t>(state.range(0));
  const std::string url = urlOf(ids);
  for (auto _ : state) {
    Pairs pairs;
    require(read(url, pairs) && pairs.size() == ids, "a generated URL is read");
    benchmark::DoNotOptimize(pairs);
  }
}

BENCHMARK_CAPTURE(query, ours, readOurs)
    ->Name("characteristic_query/ours")
    ->Arg(1)
    ->Arg(20)
    ->Arg(10'000);
BENCHMARK_CAPTURE(query, re2, readWithRE2)
    ->Name("characteristic_query/re2")
    ->Arg(1)
    ->Arg(20)
    ->Arg(10'000);

}  // namespace

BENCHMARK_MAIN();
