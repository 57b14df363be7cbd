#include "capture/io/byte_source.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace qv::capture {
namespace {

std::string textOfError(int number) {
  return number == EINTR ? "interrupted" : std::generic_category().message(number);
}

}  // namespace

std::shared_ptr<FileSource> FileSource::open(const std::string& path, ErrorSlot errorDescription) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return fail(errorDescription, textOfError(errno));
  return std::shared_ptr<FileSource>(new FileSource(descriptor, true));
}

std::shared_ptr<FileSource> FileSource::standardInput() {
  return std::shared_ptr<FileSource>(new FileSource(STDIN_FILENO, false));
}

FileSource::~FileSource() {
  if (owned_) ::close(descriptor_);
}

std::optional<std::uint64_t> FileSource::size() const {
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(status.st_size);
}

std::size_t FileSource::read(std::span<std::uint8_t> destination) {
  if (error_ || destination.empty()) return 0;
  for (;;) {
    const ssize_t count = ::read(descriptor_, destination.data(), destination.size());
    if (count >= 0) return static_cast<std::size_t>(count);
    // Whoever shares the other end of a standard input may have made it non-blocking.
    pollfd waiting{descriptor_, POLLIN, 0};
    if (errno == EAGAIN && ::poll(&waiting, 1, -1) > 0) continue;
    error_ = textOfError(errno);
    return 0;
  }
}

std::size_t MemorySource::read(std::span<std::uint8_t> destination) {
  const std::size_t count = std::min({destination.size(), pieceSize_, bytes_.size() - position_});
  const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(position_);
  std::copy_n(from, count, destination.begin());
  position_ += count;
  return count;
}

ByteView PeekedSource::peek(std::size_t count) {
  std::size_t held = peeked_.size() - given_;
  if (held < count) {
    peeked_.erase(peeked_.begin(), peeked_.begin() + static_cast<std::ptrdiff_t>(given_));
    given_ = 0;
    peeked_.resize(count);
    while (held < count) {
      const std::size_t more = source_->read(std::span(peeked_).subspan(held));
      if (more == 0) break;
      held += more;
      bytesRead_ += more;
    }
    peeked_.resize(held);
  }
  return ByteView(peeked_).subspan(given_, std::min(held, count));
}

std::size_t PeekedSource::read(std::span<std::uint8_t> destination) {
  if (given_ == peeked_.size()) {
    const std::size_t count = source_->read(destination);
    bytesRead_ += count;
    return count;
  }
  const std::size_t count = std::min(destination.size(), peeked_.size() - given_);
  std::copy_n(peeked_.begin() + static_cast<std::ptrdiff_t>(given_), count, destination.begin());
  given_ += count;
  return count;
}

std::optional<std::string> PeekedSource::error() const {
  return given_ == peeked_.size() ? source_->error() : std::nullopt;
}

}  // namespace qv::capture
