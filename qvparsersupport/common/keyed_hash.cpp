#include "qvparsersupport/common/keyed_hash.h"

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

__extension__ using Wide = unsigned __int128;

// Both halves of the product in one word.
std::uint64_t folded(std::uint64_t left, std::uint64_t right) {
  const Wide product = static_cast<Wide>(left) * right;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

std::uint64_t wordAt(const char* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Fewer than eight bytes as one word.
std::uint64_t shortWord(const char* bytes, std::size_t count) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < count; ++i) {
    word |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  }
  return word;
}

}  // namespace

std::size_t keyedHash(std::string_view text) {
  const HashKey& key = processKey();
  const char* at = text.data();
  std::size_t left = text.size();
  std::uint64_t state = key.first ^ text.size();
  for (; left > 16; at += 16, left -= 16) {
    state = folded(wordAt(at) ^ key.second, wordAt(at + 8) ^ state);
  }
  const std::uint64_t low = left >= 8 ? wordAt(at) : shortWord(at, left);
  const std::uint64_t high = left > 8 ? shortWord(at + 8, left - 8) : 0;
  state = folded(low ^ key.second, high ^ state);
  return static_cast<std::size_t>(folded(state ^ key.first, key.second));
}

}  // namespace qv
