#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/io/byte_source.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// Files one behind the other, each opened when it is its turn and inflated when it is compressed
// with gzip. One that cannot be read ends the source with an error that names it.
class QV_EXPORT FilesSource : public ByteSource {
 public:
  explicit FilesSource(std::vector<std::string> paths) : paths_(std::move(paths)) {}

  std::size_t read(std::span<std::uint8_t> destination) override;
  std::optional<std::string> error() const override { return error_; }

  struct Place {
    std::string path;
    std::uint64_t offset = 0;  // in the inflated file
  };
  // Where a byte stands of those that were read so far, or the end of them.
  Place placeOf(std::uint64_t offset) const;

 private:
  bool openNext();

  std::vector<std::string> paths_;
  std::vector<std::uint64_t> begins_;  // of the files that were opened
  std::shared_ptr<ByteSource> file_;
  std::uint64_t bytesRead_ = 0;
  std::optional<std::string> error_;
};

}  // namespace qv::capture
