#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"

namespace qv::capture {

// Bytes that are read in pieces, on demand.
class QV_EXPORT ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Fills up to the whole span and answers how many bytes it read; 0 means that there are no more,
  // because the source ended or because of an error.
  virtual std::size_t read(std::span<std::uint8_t> destination) = 0;
  // Why reading stopped early; null as long as nothing went wrong.
  virtual std::optional<std::string> error() const { return std::nullopt; }
};

// A file, pipe or device. A read answers what is there by now instead of waiting for a full span; a
// signal whose handler does not restart it ends it with the error "interrupted".
class QV_EXPORT FileSource : public ByteSource {
 public:
  // Null, with a text, when the file cannot be opened. A directory opens and fails when it is read.
  static std::shared_ptr<FileSource> open(const std::string& path,
                                          ErrorSlot errorDescription = nullptr);
  // Stays open when the source is gone.
  static std::shared_ptr<FileSource> standardInput();

  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;
  ~FileSource() override;
  std::size_t read(std::span<std::uint8_t> destination) override;
  std::optional<std::string> error() const override { return error_; }

  // Of a regular file; null for what a read may have to wait for.
  std::optional<std::uint64_t> size() const;
  int descriptor() const { return descriptor_; }

 private:
  FileSource(int descriptor, bool owned) : descriptor_(descriptor), owned_(owned) {}
  int descriptor_;
  bool owned_;
  std::optional<std::string> error_;
};

// Bytes in memory, handed out at most `pieceSize` at a time.
class QV_EXPORT MemorySource : public ByteSource {
 public:
  explicit MemorySource(Bytes bytes, std::size_t pieceSize = SIZE_MAX)
      : bytes_(std::move(bytes)), pieceSize_(pieceSize) {}
  std::size_t read(std::span<std::uint8_t> destination) override;

 private:
  Bytes bytes_;
  std::size_t pieceSize_;
  std::size_t position_ = 0;
};

// Gives the bytes of another source, of which the first ones can be looked at before.
class QV_EXPORT PeekedSource : public ByteSource {
 public:
  explicit PeekedSource(std::shared_ptr<ByteSource> source) : source_(std::move(source)) {}

  // The next bytes, which `read` will give: `count` of them, fewer only where the source ends.
  // Valid until the next call. Waits for no more than what it needs.
  ByteView peek(std::size_t count);

  std::size_t read(std::span<std::uint8_t> destination) override;
  std::optional<std::string> error() const override;
  // How many bytes were taken from the other source, those that only were looked at included.
  std::uint64_t bytesRead() const { return bytesRead_; }

 private:
  std::shared_ptr<ByteSource> source_;
  Bytes peeked_;
  std::size_t given_ = 0;  // of `peeked_`
  std::uint64_t bytesRead_ = 0;
};

}  // namespace qv::capture
