// Runs a fuzz target without a fuzzer: over every file of the folders that it is given and over
// every truncation of the small ones, each from a heap block of its exact size.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "fuzz/fuzz.h"

namespace {

constexpr std::size_t kSmall = 1024;

void run(const qv::Bytes& bytes, std::size_t length) {
  const auto exact = std::make_unique<std::uint8_t[]>(length);
  std::copy_n(bytes.begin(), length, exact.get());
  LLVMFuzzerTestOneInput(exact.get(), length);
}

}  // namespace

int main(int count, char** arguments) {
  std::vector<std::filesystem::path> files;
  for (int index = 1; index < count; ++index) {
    for (const auto& entry : std::filesystem::directory_iterator(arguments[index])) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  std::size_t runs = 0;
  for (const auto& file : files) {
    std::ifstream stream(file, std::ios::binary);
    const qv::Bytes bytes{std::istreambuf_iterator<char>(stream), {}};
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    for (std::size_t length = bytes.size() <= kSmall ? 0 : bytes.size(); length < bytes.size();
         ++length, ++runs) {
      run(bytes, length);
    }
    run(bytes, bytes.size());
    ++runs;
  }
  std::printf("%zu runs of %zu seeds\n", runs, files.size());
  return runs == 0 ? 1 : 0;
}
