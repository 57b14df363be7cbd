#include "qvparsersupport/common/keyed_hash.h"

#include <bit>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <random>

namespace qv {

namespace {

struct HashKey {
  std::uint64_t first;
  std::uint64_t second;
};

HashKey drawKey() {
  try {
    std::random_device device;
    auto word = [&] { return (std::uint64_t{device()} << 32) | device(); };
    const std::uint64_t first = word();
    return {first, word()};
  } catch (const std::exception&) {  // no entropy source: an address and a clock are better than a
                                     // constant
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    HashKey key{0, static_cast<std::uint64_t>(now)};
    key.first = reinterpret_cast<std::uintptr_t>(&now);
    return key;
  }
}

const HashKey& processKey() {
  static const HashKey key = drawKey();
  return key;
}

struct SipState {
  std::uint64_t v0, v1, v2, v3;

  void round() {
    v0 += v1;
    v1 = std::rotl(v1, 13) ^ v0;
    v0 = std::rotl(v0, 32);
    v2 += v3;
    v3 = std::rotl(v3, 16) ^ v2;
    v0 += v3;
    v3 = std::rotl(v3, 21) ^ v0;
    v2 += v1;
    v1 = std::rotl(v1, 17) ^ v2;
    v2 = std::rotl(v2, 32);
  }

  void absorb(std::uint64_t word) {
    v3 ^= word;
    round();
    v0 ^= word;
  }
};

}  // namespace

std::size_t keyedHash(std::string_view text) {
  const HashKey& key = processKey();
  SipState state{key.first ^ 0x736f6d6570736575ULL, key.second ^ 0x646f72616e646f6dULL,
                 key.first ^ 0x6c7967656e657261ULL, key.second ^ 0x7465646279746573ULL};
  const char* at = text.data();
  std::size_t left = text.size();
  for (; left >= 8; at += 8, left -= 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, 8);
    state.absorb(word);
  }
  std::uint64_t last = static_cast<std::uint64_t>(text.size()) << 56;
  for (std::size_t i = 0; i < left; ++i) {
    last |= static_cast<std::uint64_t>(static_cast<unsigned char>(at[i])) << (8 * i);
  }
  state.absorb(last);
  state.v2 ^= 0xFF;
  for (int i = 0; i < 3; ++i) state.round();
  return static_cast<std::size_t>(state.v0 ^ state.v1 ^ state.v2 ^ state.v3);
}

}  // namespace qv
