#pragma once

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

#include "qvparsersupport/common/bytes.h"

namespace qv::test {

// A folder of its own for one test, removed at its end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    static std::atomic<int> count{0};
    path_ = std::filesystem::temp_directory_path() /
            ("qv-test-" + std::to_string(getpid()) + "-" + std::to_string(count++));
    std::filesystem::create_directories(path_);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  // Writes a file and answers its path.
  std::string write(const std::string& name, ByteView bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << textOf(bytes);
    return path(name);
  }
  std::string path(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace qv::test
