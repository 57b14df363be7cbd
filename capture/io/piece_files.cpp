#include "capture/io/piece_files.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "capture/io/gzip_source.h"

namespace qv::capture {
std::size_t FilesSource::read(std::span<std::uint8_t> destination) {
  while (!error_ && !destination.empty() && (file_ != nullptr || openNext())) {
    const std::size_t count = file_->read(destination);
    bytesRead_ += count;
    if (count > 0) return count;
    if (file_->error()) error_ = fmt::format("{}: {}", paths_[begins_.size() - 1], *file_->error());
    file_.reset();
  }
  return 0;
}

// False when there is none, or when it cannot be opened.
bool FilesSource::openNext() {
  if (begins_.size() == paths_.size()) return false;
  const std::string& path = paths_[begins_.size()];
  std::optional<std::string> error;
  std::shared_ptr<FileSource> file = FileSource::open(path, &error);
  if (file == nullptr) {
    error_ = fmt::format("{}: {}", path, textOrNull(error));
    return false;
  }
  begins_.push_back(bytesRead_);
  file_ = inflatedWhereCompressed(std::move(file));
  return true;
}

FilesSource::Place FilesSource::placeOf(std::uint64_t offset) const {
  const auto after = std::upper_bound(begins_.begin(), begins_.end(), offset);
  if (after == begins_.begin()) return {paths_.empty() ? std::string() : paths_.front(), offset};
  const auto index = static_cast<std::size_t>(after - begins_.begin()) - 1;
  return {paths_[index], offset - begins_[index]};
}

}  // namespace qv::capture
