#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/byte_source.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"

namespace qv::capture {

// The files of a directory that are pieces of a capture, each list in the order of their names.
// Where there are requests or responses, the others are no pieces.
struct PieceFiles {
  std::vector<std::string> requests;   // NAME.req, and NAME.req.gz
  std::vector<std::string> responses;  // NAME.rsp
  std::vector<std::string> others;
};

// Hidden files, directories and what is no file are left out. Names are in natural order, their
// runs of digits compared as numbers: log-2026-11-30, log-2026-12-01; what stands before the
// extension decides first: run.pcap, run.pcap1, run.pcap10, run-1.pcap. Null, with a text, when the
// directory cannot be read or holds no file.
QV_EXPORT std::optional<PieceFiles> piecesIn(const std::string& directory,
                                             ErrorSlot errorDescription = nullptr);

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
