#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
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

// A file, pipe or device.
class QV_EXPORT FileSource : public ByteSource {
 public:
  // Null, with a text, when the file cannot be opened. A directory opens and fails when it is read.
  static std::shared_ptr<FileSource> open(const std::string& path,
                                          ErrorSlot errorDescription = nullptr);

  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;
  ~FileSource() override;
  std::size_t read(std::span<std::uint8_t> destination) override;
  std::optional<std::string> error() const override { return error_; }

 private:
  explicit FileSource(std::FILE* file) : file_(file) {}
  std::FILE* file_;
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

}  // namespace qv::capture
