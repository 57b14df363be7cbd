#include "tests/qvcheck/temporary_folder.h"

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <sstream>

#include "tools/qvcheck/qvcheck.h"

namespace qv::test {

TemporaryFolder::TemporaryFolder() {
  static std::atomic<int> count{0};
  path_ = std::filesystem::temp_directory_path() /
          ("qvcheck-test-" + std::to_string(getpid()) + "-" + std::to_string(count++));
  std::filesystem::create_directories(path_);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string& name, ByteView bytes) const {
  std::ofstream file(path_ / name, std::ios::binary);
  file << textOf(bytes);
  return path(name);
}

std::string TemporaryFolder::takenOutOf(std::string text) const {
  const std::string folder = path("");
  for (std::size_t at = 0; (at = text.find(folder, at)) != std::string::npos;) {
    text.erase(at, folder.size());
  }
  return text;
}

Outcome runTool(const std::vector<std::string>& arguments, bool outIsTerminal) {
  std::ostringstream out;
  std::ostringstream err;
  const int exit = check::runQvcheck(arguments, out, err, outIsTerminal);
  return {exit, out.str(), err.str()};
}

}  // namespace qv::test
