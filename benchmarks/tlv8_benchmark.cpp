#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qvparsersupport/tlv8/tlv8_packet.h"

// A TLV8 body into owned fields, against a plain loop that pushes pairs of type and string. The
// peer of each benchmark stands right behind it, so that one run measures both alike.
namespace {

using qv::Bytes;
using qv::ByteView;

void appendItem(Bytes& body, std::uint8_t type, std::size_t length) {
  body.push_back(type);
  body.push_back(static_cast<std::uint8_t>(length));
  for (std::size_t i = 0; i < length; ++i) body.push_back(static_cast<std::uint8_t>(i * 31 + type));
}

// Like the second message of a pairing: a state, a salt and a long key in two fragments.
Bytes pairingBody() {
  Bytes body;
  appendItem(body, 0x06, 1);
  appendItem(body, 0x02, 16);
  appendItem(body, 0x03, 255);
  appendItem(body, 0x03, 129);
  appendItem(body, 0x05, 64);
  appendItem(body, 0x00, 1);
  return body;
}

Bytes smallItemsBody() {
  Bytes body;
  for (std::uint8_t type = 0; body.size() < 1'000'000; ++type) appendItem(body, type, type % 5);
  return body;
}

std::vector<std::pair<std::uint8_t, std::string>> plainLoop(ByteView data) {
  std::vector<std::pair<std::uint8_t, std::string>> fields;
  std::size_t cursor = 0;
  while (data.size() - cursor >= 2) {
    const std::size_t length = data[cursor + 1];
    if (length > data.size() - cursor - 2) break;
    fields.emplace_back(
        data[cursor], std::string(reinterpret_cast<const char*>(data.data()) + cursor + 2, length));
    cursor += 2 + length;
  }
  return fields;
}

void parsePacket(benchmark::State& state, const Bytes& body) {
  for (auto _ : state) benchmark::DoNotOptimize(qv::QVTLV8Packet::initWithData(body));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(body.size()));
}

void parsePlain(benchmark::State& state, const Bytes& body) {
  for (auto _ : state) benchmark::DoNotOptimize(plainLoop(body));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(body.size()));
}

void walkPacket(benchmark::State& state, const Bytes& body) {
  const qv::QVTLV8FieldList fields = qv::QVTLV8Packet::initWithData(body)->fields();
  for (auto _ : state) {
    std::size_t sum = 0;
    for (const qv::QVTLV8Field& field : *fields) {
      const auto value = field.value();
      sum += field.type() + value->size() + (value->empty() ? 0 : value->front());
    }
    benchmark::DoNotOptimize(sum);
  }
}

void walkPlain(benchmark::State& state, const Bytes& body) {
  const auto fields = plainLoop(body);
  for (auto _ : state) {
    std::size_t sum = 0;
    for (const auto& [type, value] : fields) {
      sum += type + value.size() + (value.empty() ? 0 : static_cast<std::uint8_t>(value.front()));
    }
    benchmark::DoNotOptimize(sum);
  }
}

BENCHMARK_CAPTURE(parsePacket, pairing, pairingBody());
BENCHMARK_CAPTURE(parsePlain, pairing, pairingBody());
BENCHMARK_CAPTURE(parsePacket, small_items_1MB, smallItemsBody());
BENCHMARK_CAPTURE(parsePlain, small_items_1MB, smallItemsBody());
BENCHMARK_CAPTURE(walkPacket, small_items_1MB, smallItemsBody());
BENCHMARK_CAPTURE(walkPlain, small_items_1MB, smallItemsBody());

}  // namespace

BENCHMARK_MAIN();
