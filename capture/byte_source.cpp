#include "capture/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace qv::capture {

std::shared_ptr<FileSource> FileSource::open(const std::string& path, ErrorSlot errorDescription) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return fail(errorDescription, std::generic_category().message(errno));
  return std::shared_ptr<FileSource>(new FileSource(file));
}

FileSource::~FileSource() {
  std::fclose(file_);
}

std::size_t FileSource::read(std::span<std::uint8_t> destination) {
  if (error_ || destination.empty()) return 0;
  errno = 0;
  const std::size_t count = std::fread(destination.data(), 1, destination.size(), file_);
  if (std::ferror(file_) != 0) error_ = std::generic_category().message(errno);
  return count;
}

std::size_t MemorySource::read(std::span<std::uint8_t> destination) {
  const std::size_t count = std::min({destination.size(), pieceSize_, bytes_.size() - position_});
  const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(position_);
  std::copy_n(from, count, destination.begin());
  position_ += count;
  return count;
}

}  // namespace qv::capture
