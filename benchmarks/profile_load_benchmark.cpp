// Loading profiles, beside expat building nothing but an element tree from the same bytes, saving
// and restoring the table as an archive, to be compared with loading it, and looking
// characteristics up, beside a hash map of strings. Prints the peak heap of a loaded table first,
// and of tables restored from archives of next to nothing.

#include <benchmark/benchmark.h>
#include <expat.h>
#include <fmt/format.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "benchmarks/support/heap_counter.h"
#include "benchmarks/support/profile_generator.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/xml_reader.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace {

using qv::QVSymbolTable;
using qv::QVTransport;
using qv::XMLDocument;

const std::string& profile(std::size_t characteristics) {
  static std::map<std::size_t, std::string> profiles;
  std::string& text = profiles[characteristics];
  if (text.empty()) text = qv::bench::generatedProfile(characteristics);
  return text;
}

bool loadInto(QVSymbolTable& table, const std::string& text) {
  const std::shared_ptr<const XMLDocument> documents[] = {
      qv::parseXML(qv::bytesOf(text), "generated.xml").document};
  return table.loadDocuments(documents);
}

void clear(QVSymbolTable& table) {
  table._reset();
  table.setTransportCharacteristics(nullptr);
  table.setDocument(nullptr);
}

// What a program would build first if it had only the parser.
struct PlainElement {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<std::unique_ptr<PlainElement>> children;
};

void onStart(void* user, const XML_Char* name, const XML_Char** attributes) {
  auto& open = *static_cast<std::vector<PlainElement*>*>(user);
  auto element = std::make_unique<PlainElement>();
  element->name = name;
  for (; *attributes != nullptr; attributes += 2) {
    element->attributes.emplace_back(attributes[0], attributes[1]);
  }
  PlainElement* const added = element.get();
  open.back()->children.push_back(std::move(element));
  open.push_back(added);
}

void onEnd(void* user, const XML_Char*) {
  static_cast<std::vector<PlainElement*>*>(user)->pop_back();
}

void loadProfile(benchmark::State& state) {
  const std::string& text = profile(static_cast<std::size_t>(state.range(0)));
  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  for (auto _ : state) {
    if (!loadInto(table, text)) state.SkipWithError("the profile does not load");
    clear(table);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void parseOnly(benchmark::State& state) {
  const std::string& text = profile(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(qv::parseXML(qv::bytesOf(text), "generated.xml"));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void peerBareTree(benchmark::State& state) {
  const std::string& text = profile(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    PlainElement top;
    std::vector<PlainElement*> open{&top};
    XML_Parser parser = XML_ParserCreateNS(nullptr, '\x01');
    XML_SetUserData(parser, &open);
    XML_SetElementHandler(parser, onStart, onEnd);
    const auto status = XML_Parse(parser, text.data(), static_cast<int>(text.size()), XML_TRUE);
    XML_ParserFree(parser);
    if (status != XML_STATUS_OK) state.SkipWithError("the profile does not parse");
    benchmark::DoNotOptimize(top.children.size());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void archiveTable(benchmark::State& state) {
  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  if (!loadInto(table, profile(static_cast<std::size_t>(state.range(0))))) {
    state.SkipWithError("the profile does not load");
  }
  for (auto _ : state) benchmark::DoNotOptimize(table.archiveRepresentation());
  clear(table);
}

void restoreArchive(benchmark::State& state) {
  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  if (!loadInto(table, profile(static_cast<std::size_t>(state.range(0))))) {
    state.SkipWithError("the profile does not load");
  }
  const qv::Value archive = table.archiveRepresentation();
  clear(table);
  for (auto _ : state) {
    if (!table.loadArchivedRepresentation(archive)) state.SkipWithError("the archive fails");
    clear(table);
  }
}

std::vector<std::string> uuidsInMixedOrder(std::size_t count) {
  std::vector<std::string> uuids;
  for (std::size_t i = 0; i < count; ++i) {
    uuids.push_back(qv::bench::generatedUUID((i * 7919) % count));
  }
  return uuids;
}

void lookUpByUUID(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  if (!loadInto(table, profile(count))) state.SkipWithError("the profile does not load");
  const auto uuids = uuidsInMixedOrder(count);
  std::size_t next = 0;
  for (auto _ : state) {
    const auto found = table.characteristicWithRef(uuids[next], QVTransport::ip);
    if (found == nullptr) state.SkipWithError("a characteristic is missing");
    benchmark::DoNotOptimize(found.get());
    if (++next == count) next = 0;
  }
  clear(table);
}

// `takeHandle`: copy the handle that was found, as the library's lookup does, instead of only
// pointing at it.
template <bool takeHandle>
void peerUnorderedMap(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  if (!loadInto(table, profile(count))) state.SkipWithError("the profile does not load");
  std::unordered_map<std::string, std::shared_ptr<qv::QVCharacteristicXMLObject>> map;
  for (const auto& each : *table.transportCharacteristics()) map.emplace(*each->uuid(), each);
  const auto uuids = uuidsInMixedOrder(count);
  std::size_t next = 0;
  for (auto _ : state) {
    const auto found = map.find(uuids[next]);
    if (found == map.end()) state.SkipWithError("a characteristic is missing");
    if constexpr (takeHandle) {
      const auto handle = found->second;
      benchmark::DoNotOptimize(handle.get());
    } else {
      benchmark::DoNotOptimize(found->second.get());
    }
    if (++next == count) next = 0;
  }
  clear(table);
}

BENCHMARK(loadProfile)->Arg(300)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond);
BENCHMARK(peerBareTree)->Arg(300)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond);
BENCHMARK(parseOnly)->Arg(300)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond);
BENCHMARK(archiveTable)->Arg(300)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond);
BENCHMARK(restoreArchive)->Arg(300)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond);
BENCHMARK(lookUpByUUID)->Arg(300)->Arg(3000)->Arg(30000);
BENCHMARK(peerUnorderedMap<false>)->Arg(300)->Arg(3000)->Arg(30000);
BENCHMARK(peerUnorderedMap<true>)->Arg(300)->Arg(3000)->Arg(30000);

void printPeakHeap(std::size_t characteristics) {
  const std::string& text = profile(characteristics);
  const qv::bench::HeapCounter heap;
  // The definitions resolve their references in the shared table, so that is the one to load.
  const bool loaded = loadInto(QVSymbolTable::sharedSymbolTable(), text);
  std::printf(
      "heap of a loaded table, %zu characteristics, %zu bytes of XML%s: peak %.2f, held %.2f"
      " bytes per byte\n",
      characteristics, text.size(), loaded ? "" : " (NOT LOADED)",
      static_cast<double>(heap.peak()) / static_cast<double>(text.size()),
      static_cast<double>(heap.held()) / static_cast<double>(text.size()));
  clear(QVSymbolTable::sharedSymbolTable());
}

// What restoring definitions costs that an archive makes out of as few bytes as possible.
void printHeapOfEmptyDefinitions(const char* list, const std::string& element) {
  constexpr std::size_t kCount = 100'000;
  std::string text = fmt::format("{{\"{}\":[", list);
  for (std::size_t i = 0; i < kCount; ++i) text += (i > 0 ? "," : "") + element;
  text += "]}";
  const auto archive = qv::parseJSON(qv::bytesOf(text)).value.value();
  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  {
    const qv::bench::HeapCounter heap;
    const bool restored = table.loadArchivedRepresentation(archive);
    std::printf("heap of a restored table, %s of %s%s: peak %.1f, held %.1f bytes per byte\n", list,
                element.c_str(), restored ? "" : " (NOT RESTORED)",
                static_cast<double>(heap.peak()) / static_cast<double>(text.size()),
                static_cast<double>(heap.held()) / static_cast<double>(text.size()));
  }
  clear(table);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  for (const std::size_t characteristics : {300, 3000, 30000}) printPeakHeap(characteristics);
  for (const char* list : {"enums", "tlv8s", "characteristics", "services"}) {
    printHeapOfEmptyDefinitions(list, "0");
  }
  printHeapOfEmptyDefinitions("characteristics", R"({"ip":{}})");
  printHeapOfEmptyDefinitions("characteristics", R"({"ip":{"step":0}})");
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
