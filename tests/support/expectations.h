#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace qv::test {

inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Compares with the file, or writes it anew when scripts/renew-expectations runs the test.
inline void expectContent(const std::string& path, const std::string& actual) {
  if (std::getenv("QV_RENEW_EXPECTATIONS") != nullptr) {
    std::ofstream(path, std::ios::binary) << actual;
  } else {
    EXPECT_EQ(actual, contentOf(path)) << path;
  }
}

}  // namespace qv::test
