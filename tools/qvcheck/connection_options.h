#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace qv::check {

// One captured connection, given as two byte streams, and the profiles to read it by.
struct ConnectionOptions {
  std::vector<std::string> profiles;
  std::string requestFile;
  std::string responseFile;
  std::size_t maxMessageSize = std::size_t{64} << 20;  // bytes
};

void declareConnection(CLI::App& command, ConnectionOptions& options);

// What is wrong with a text that should be a whole number; empty when nothing is.
std::string checkedCount(const std::string& text);
std::string checkedCountAboveZero(const std::string& text);

}  // namespace qv::check
