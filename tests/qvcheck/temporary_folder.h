#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/bytes.h"

namespace qv::test {

// A folder of its own for one test, removed at its end.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  // Writes a file and answers its path.
  std::string write(const std::string& name, ByteView bytes) const;
  std::string path(const std::string& name) const { return (path_ / name).string(); }
  // The text without the path of the folder.
  std::string takenOutOf(std::string text) const;

 private:
  std::filesystem::path path_;
};

struct Outcome {
  int exit;
  std::string out;
  std::string err;
};

// Runs the tool in this process.
Outcome runTool(const std::vector<std::string>& arguments, bool outIsTerminal = false);

}  // namespace qv::test
