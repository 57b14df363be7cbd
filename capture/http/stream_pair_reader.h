#pragma once

#include <memory>

#include "capture/capture_reader.h"
#include "capture/http/exchange_pairing.h"
#include "capture/http/stream_items.h"
#include "capture/io/byte_source.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// One connection, given as the raw bytes of its two directions, or of one of them.
//
// Report order: a request, then what stands in the response stream up to and with its final
// response (informational responses, events, damage), then the next request. When one stream ends
// the rest of the other follows. Both are read only as far as the next record asks for.
class QV_EXPORT StreamPairReader : public CaptureReader {
 public:
  // Null stands for a stream that was not captured.
  StreamPairReader(std::shared_ptr<ByteStreamItems> requests,
                   std::shared_ptr<ByteStreamItems> responses);

  StreamPairReader(const StreamPairReader&) = delete;
  StreamPairReader& operator=(const StreamPairReader&) = delete;
  ~StreamPairReader() override;

  std::optional<CaptureEvent> next() override;
  // The next event that is a record; null at the end.
  std::optional<ExchangeRecord> nextRecord();
  std::string_view format() const override { return "http"; }
  std::string contents() const override { return "no messages"; }
  Fidelity fidelity() const override { return Fidelity::exact; }
  std::optional<std::string> error() const override;

 private:
  bool advance();
  bool readRequest();
  bool readResponse();

  std::shared_ptr<ByteStreamItems> requests_;
  std::shared_ptr<ByteStreamItems> responses_;
  ExchangePairing pairing_;
  bool opened_ = false;
  bool closed_ = false;
  bool requestsEnded_ = false;
  bool responsesEnded_ = false;
  bool responseIsDue_ = false;
};

}  // namespace qv::capture
