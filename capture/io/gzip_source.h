#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>

#include "capture/io/byte_source.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// The bytes of a gzip file (RFC 1952), of one member or several, inflated as they are asked for.
// What is damaged or cut gives the bytes before, then an error.
class QV_EXPORT GzipSource : public ByteSource {
 public:
  // True for bytes that begin like a gzip file; three of them decide.
  static bool recognises(ByteView beginning);

  explicit GzipSource(std::shared_ptr<ByteSource> source);
  ~GzipSource() override;
  std::size_t read(std::span<std::uint8_t> destination) override;
  std::optional<std::string> error() const override;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

// The bytes of the source, inflated where they begin like those of gzip.
QV_EXPORT std::shared_ptr<PeekedSource> inflatedWhereCompressed(std::shared_ptr<ByteSource> source);

}  // namespace qv::capture
