// Reading an HTTP archive of 100,000 entries: an ordinary day's exchanges over and over, every
// third body in base-64, with all the boilerplate that exporters write. The archive is made while
// it is read, so it is never held. "scanning" only finds the entries. Prints the peak heap of 1,000
// and of 100,000 entries at the start.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "benchmarks/support/database_generator.h"
#include "benchmarks/support/heap_counter.h"
#include "benchmarks/support/require.h"
#include "benchmarks/support/traffic_generator.h"
#include "capture/har/har_reader.h"
#include "capture/har/json_entry_scanner.h"
#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/common/value.h"

namespace {

using namespace qv;
using namespace qv::capture;

constexpr std::uint64_t kEntries = 100'000;
constexpr std::size_t kPatterns = 500;

std::string quoted(std::string_view text) {
  return jsonText(Value::string(text));
}

// The field lines as the archive lists them.
std::string headersOf(std::string_view header) {
  std::string list;
  std::size_t at = header.find("\r\n") + 2;
  while (at < header.size()) {
    const std::size_t end = header.find("\r\n", at);
    const std::string_view line = header.substr(at, end - at);
    const std::size_t colon = line.find(": ");
    list += fmt::format("{}{{\"name\":{},\"value\":{}}}", list.empty() ? "" : ",",
                        quoted(line.substr(0, colon)), quoted(line.substr(colon + 2)));
    at = end + 2;
  }
  return list;
}

std::string textOfBody(const std::string& body, bool asBase64) {
  if (!asBase64) return "\"text\":" + quoted(body);
  std::string coded;
  appendBase64(coded, bytesOf(body));
  return "\"text\":" + quoted(coded) + ",\"encoding\":\"base64\"";
}

std::string entryOf(const bench::Exchange& exchange, bool asBase64) {
  const auto word = [](const std::string& header, std::size_t index) {
    std::size_t at = 0;
    for (; index > 0; --index) at = header.find(' ', at) + 1;
    return header.substr(at, header.find_first_of(" \r", at) - at);
  };
  const auto& [request, response] = exchange;
  const std::string postData = request.body.empty()
                                   ? ""
                                   : ",\"postData\":{\"mimeType\":\"application/vel+json\"," +
                                         textOfBody(request.body, asBase64) + "}";
  return fmt::format(
      R"({{"startedDateTime":"2024-05-01T12:34:56.789+02:00","time":12.25,)"
      R"("serverIPAddress":"192.0.2.9","connection":"51826","cache":{{}},)"
      R"("timings":{{"blocked":0.1,"dns":-1,"connect":-1,"send":0.15,"wait":11,"receive":1,"ssl":-1}},)"
      R"("request":{{"method":"{}","url":"http://accessory.local:51826{}","httpVersion":"HTTP/1.1",)"
      R"("headers":[{}],"queryString":[],"cookies":[],"headersSize":{},"bodySize":{}{}}},)"
      R"("response":{{"status":{},"statusText":"OK","httpVersion":"HTTP/1.1","headers":[{}],)"
      R"("cookies":[],"content":{{"size":{},"mimeType":"application/vel+json",{}}},)"
      R"("redirectURL":"","headersSize":{},"bodySize":{}}}}})",
      word(request.header, 0), word(request.header, 1), headersOf(request.header),
      request.header.size() + 2, request.body.size(), postData, word(response.header, 1),
      headersOf(response.header), response.body.size(), textOfBody(response.body, asBase64),
      response.header.size() + 2, response.body.size());
}

const std::vector<std::string>& patterns() {
  static const std::vector<std::string> kTexts = [] {
    std::vector<std::string> texts;
    for (const auto& exchange : bench::ordinaryDay(kPatterns, bench::attributeDatabase(20'000))) {
      if (!exchange.isEvent()) texts.push_back(entryOf(exchange, texts.size() % 3 == 0));
    }
    return texts;
  }();
  return kTexts;
}

// Makes the archive while it is read.
class GeneratedArchive : public ByteSource {
 public:
  explicit GeneratedArchive(std::uint64_t entries) : entries_(entries) {}

  std::size_t read(std::span<std::uint8_t> destination) override {
    std::size_t filled = 0;
    while (filled < destination.size() && (!rest_.empty() || advance())) {
      const std::size_t count = std::min(destination.size() - filled, rest_.size());
      std::copy_n(rest_.begin(), count, destination.begin() + static_cast<std::ptrdiff_t>(filled));
      rest_.remove_prefix(count);
      filled += count;
    }
    bytesRead_ += filled;
    return filled;
  }
  std::uint64_t bytesRead() const { return bytesRead_; }

 private:
  bool advance() {
    static constexpr std::string_view kFront =
        R"({"log":{"version":"1.2","creator":{"name":"generated","version":"1"},"entries":[)";
    if (part_ > 2 * entries_) return false;
    if (part_ == 0) {
      rest_ = kFront;
    } else if (part_ == 2 * entries_) {
      rest_ = "]}}\n";
    } else {
      rest_ = part_ % 2 == 1 ? std::string_view(patterns()[part_ / 2 % patterns().size()]) : ",\n";
    }
    ++part_;
    return true;
  }

  std::uint64_t entries_;
  std::uint64_t part_ = 0;
  std::string_view rest_;
  std::uint64_t bytesRead_ = 0;
};

// Answers how long the archive is.
std::uint64_t readAll(std::uint64_t entries) {
  const auto archive = std::make_shared<GeneratedArchive>(entries);
  const auto reader = openHAR(archive);
  std::uint64_t answered = 0;
  while (const auto event = reader->next()) {
    const auto* record = std::get_if<ExchangeRecord>(&*event);
    if (record == nullptr) continue;
    bench::require(record->message()->complete(), "every message is whole");
    answered += record->answers.has_value();
  }
  bench::require(answered == entries, "every entry gives an answer");
  return archive->bytesRead();
}

std::uint64_t scanAll(std::uint64_t entries) {
  GeneratedArchive archive(entries);
  JSONEntryScanner scanner(FramingLimits().messageBytes);
  Bytes piece(std::size_t{1} << 16);
  std::uint64_t found = 0;
  std::uint64_t bytes = 0;
  while (const std::size_t count = archive.read(piece)) {
    bytes += count;
    scanner.feed(ByteView(piece).first(count));
    while (scanner.next()) ++found;
  }
  bench::require(found == entries, "every entry is found");
  return bytes;
}

template <class Work>
void measure(benchmark::State& state, Work work) {
  std::uint64_t bytes = 0;
  for (auto _ : state) bytes += work(kEntries);
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kEntries));
}

void printPeakHeap(std::uint64_t entries) {
  bench::HeapCounter counter;
  const std::uint64_t bytes = readAll(entries);
  std::printf("heap while reading %llu entries (%.1f MB): peak %.1f kB\n",
              static_cast<unsigned long long>(entries), static_cast<double>(bytes) / 1e6,
              static_cast<double>(counter.peak()) / 1e3);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  patterns();
  printPeakHeap(kEntries / 100);
  printPeakHeap(kEntries);
  benchmark::RegisterBenchmark("har/reading", [](auto& state) {
    measure(state, readAll);
  })->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("har/scanning", [](auto& state) {
    measure(state, scanAll);
  })->Unit(benchmark::kMillisecond);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
