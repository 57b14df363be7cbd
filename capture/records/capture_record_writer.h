#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "capture/capture_reader.h"
#include "qvparsersupport/common/export.h"

namespace qv::capture {

// Writes what any capture came to as `capture` records (qv.capture/1), from which it reads again
// with the same messages, pairs and notes, one connection after another or several at a time.
//
//   CaptureRecordWriter writer(output);
//   while (auto event = reader.next()) writer.write(*event);
//   writer.endInput(reader.fidelity());   // and so on with the next input
//
// Offsets of messages are not kept, because a record has its own place.
class QV_EXPORT CaptureRecordWriter {
 public:
  // Called with whole lines, the header record at once.
  using Output = std::function<void(std::string_view lines)>;

  explicit CaptureRecordWriter(Output output);

  void write(const CaptureEvent& event);
  // Events behind it are of another input, with connections of its own.
  void endInput(Fidelity fidelity);

 private:
  void writeOpened(const ConnectionOpened& opened);
  void writeRecord(const ExchangeRecord& record);
  void writeMessage(const ExchangeRecord& record, const FramedMessage& message);
  void writeNote(const InputNote& note);

  void begin(std::string_view type);
  void place(std::uint64_t connection, Direction direction, const CapturePlace& place);
  void add(std::string_view key, std::string_view word);
  void add(std::string_view key, std::uint64_t number);
  void addFlag(std::string_view key, bool value);
  void addText(std::string_view key, std::string_view text);
  void addBase64(std::string_view key, ByteView bytes);
  void end();
  std::uint64_t numberOf(std::uint64_t connection);

  Output output_;
  std::string line_;
  // Connections of earlier inputs, which those of this one come behind.
  std::uint64_t earlier_ = 0;
  std::uint64_t latest_ = 0;
};

}  // namespace qv::capture
