#include "tools/qvcheck/capture_input.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "capture/capture_opening.h"
#include "capture/gzip_source.h"
#include "capture/packet_capture_reader.h"
#include "capture/piece_files.h"
#include "capture/stream_pair_reader.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/input_findings.h"
#include "tools/qvcheck/named_file.h"
#include "tools/qvcheck/signal_watch.h"

namespace qv::check {

namespace {

using capture::ByteSource;
using capture::ByteStreamItems;
using capture::Direction;

// Of what a signal ended nothing is complained.
void complain(std::ostream& err, const std::string& name, const std::string& text) {
  if (SignalWatch::signal() != 0) return;
  err << "qvcheck: " << escaped(name) << ": " << escaped(text) << '\n';
}

// Passes a source on, counts its bytes and keeps how it begins. Ends when a signal came.
class ObservedSource : public ByteSource {
 public:
  ObservedSource(std::shared_ptr<ByteSource> source, InputRecord& record,
                 std::function<void(std::size_t)> onRead)
      : source_(std::move(source)), record_(record), onRead_(std::move(onRead)) {}

  std::size_t read(std::span<std::uint8_t> destination) override {
    constexpr std::size_t kMost = 32;
    if (SignalWatch::signal() != 0) return 0;
    const std::size_t count = source_->read(destination);
    record_.bytes += count;
    onRead_(count);
    const std::size_t room = kMost - std::min(kMost, record_.head.size());
    const auto kept = destination.first(std::min(count, room));
    record_.head.insert(record_.head.end(), kept.begin(), kept.end());
    return count;
  }
  std::optional<std::string> error() const override { return source_->error(); }

 private:
  std::shared_ptr<ByteSource> source_;
  InputRecord& record_;
  std::function<void(std::size_t)> onRead_;
};

std::unique_ptr<InputRecord> recordFor(const std::string& name) {
  auto record = std::make_unique<InputRecord>();
  record->name = name;
  record->format = "http";
  record->fidelity = "exact";
  return record;
}

capture::OpenOptions openOptions(const CaptureOptions& options) {
  return {capture::FramingLimits{options.maxMessageSize}, options.port,
          "; leave out --input-format " + std::string(nameOf(options.form))};
}

std::string_view nameOf(capture::Fidelity fidelity) {
  constexpr std::string_view kNames[] = {"exact", "reconstructed", "damaged"};
  return kNames[static_cast<std::size_t>(fidelity)];
}

}  // namespace

std::vector<std::unique_ptr<CaptureInput>> CaptureInput::all(const CaptureOptions& options) {
  std::vector<std::unique_ptr<CaptureInput>> inputs;
  if (options.hasStreams()) {
    auto input = std::make_unique<CaptureInput>();
    input->isPair_ = true;
    for (const std::string& file : {options.requestFile, options.responseFile}) {
      input->records_.push_back(recordFor(file));
    }
    inputs.push_back(std::move(input));
  }
  for (const std::string& name : options.inputs) {
    auto input = std::make_unique<CaptureInput>();
    input->records_.push_back(recordFor(name));
    inputs.push_back(std::move(input));
  }
  return inputs;
}

std::shared_ptr<ByteSource> CaptureInput::sourceOf(InputRecord& record, std::ostream& err) {
  std::error_code unknown;
  if (isPair_ && std::filesystem::is_directory(record.name, unknown)) {
    std::optional<std::string> error;
    auto pieces = capture::piecesIn(record.name, &error);
    if (!pieces) {
      complain(err, record.name, textOrNull(error));
      return nullptr;
    }
    auto& ofDirection =
        &record == &this->record(Direction::toAccessory) ? pieces->requests : pieces->responses;
    return sourceOf(record, std::move(ofDirection.empty() ? pieces->others : ofDirection));
  }
  std::optional<std::string> error;
  auto file = openNamedFile(record.name, beforeWaiting_, &error);
  if (file.bytes == nullptr) {
    complain(err, record.name, textOrNull(error));
    return nullptr;
  }
  auto source = std::make_shared<ObservedSource>(std::move(file.bytes), record, onRead_);
  sources_.push_back(source);
  return source;
}

std::shared_ptr<ByteSource> CaptureInput::sourceOf(InputRecord& record,
                                                   std::vector<std::string> pieces) {
  sources_.push_back(std::make_shared<ObservedSource>(
      std::make_shared<capture::FilesSource>(std::move(pieces)), record, onRead_));
  return sources_.back();
}

// Requests and responses are the two streams of a connection; of anything else, packet files
// continue each other and other files are one stream.
bool CaptureInput::openDirectory(const CaptureOptions& options, std::ostream& err) {
  InputRecord& record = *records_.front();
  const capture::FramingLimits limits{options.maxMessageSize};
  std::optional<std::string> error;
  auto pieces = capture::piecesIn(record.name, &error);
  if (!pieces) {
    complain(err, record.name, textOrNull(error));
    return false;
  }
  if (!pieces->requests.empty() || !pieces->responses.empty()) {
    if (options.form != capture::CaptureForm::automatic &&
        options.form != capture::CaptureForm::http) {
      complain(err, record.name,
               "holds byte streams (.req, .rsp), nothing else is read beside them" +
                   openOptions(options).advice);
      return false;
    }
    const auto streamOf = [&](std::vector<std::string>& files, Direction direction) {
      return files.empty() ? nullptr
                           : std::make_shared<ByteStreamItems>(sourceOf(record, std::move(files)),
                                                               direction, limits);
    };
    const auto requests = streamOf(pieces->requests, Direction::toAccessory);
    reader_ = std::make_unique<capture::StreamPairReader>(
        requests, streamOf(pieces->responses, Direction::toController));
    return true;
  }
  capture::PeekedSource first(std::make_shared<capture::FilesSource>(pieces->others));
  const bool arePackets = capture::PacketSegments::recognises(first.peek(4));
  if (arePackets && (options.form == capture::CaptureForm::automatic ||
                     options.form == capture::CaptureForm::pcap)) {
    const auto open = [this, &record](const std::string& path) {
      return std::make_shared<ObservedSource>(
          std::make_shared<capture::FilesSource>(std::vector{path}), record, onRead_);
    };
    reader_ = capture::openPacketPieces(std::move(pieces->others), open, options.port, limits);
    return true;
  }
  const auto source = sourceOf(record, std::move(pieces->others));
  reader_ = capture::openCapture(source, options.form, openOptions(options), &error);
  if (reader_ != nullptr) return true;
  complain(err, record.name, textOrNull(source->error() ? source->error() : error));
  return false;
}

bool CaptureInput::openStreams(const CaptureOptions& options, std::ostream& err) {
  std::shared_ptr<ByteStreamItems> streams[2];
  bool opened = true;
  for (const Direction direction : {Direction::toAccessory, Direction::toController}) {
    InputRecord& record = this->record(direction);
    if (record.name.empty()) continue;
    const auto source = sourceOf(record, err);
    opened = opened && source != nullptr;
    if (source == nullptr) continue;
    const auto stream = capture::inflatedWhereCompressed(source);
    const auto other = otherForm(*stream, capture::CaptureForm::http,
                                 "; give it without --request and --response");
    if (other) {
      complain(err, record.name, *other);
      opened = false;
    }
    streams[static_cast<std::size_t>(direction)] = std::make_shared<ByteStreamItems>(
        stream, direction, capture::FramingLimits{options.maxMessageSize});
  }
  reader_ = std::make_unique<capture::StreamPairReader>(streams[0], streams[1]);
  return opened;
}

bool CaptureInput::open(const CaptureOptions& options, std::ostream& err) {
  if (isPair_) return openStreams(options, err);
  InputRecord& record = *records_.front();
  std::error_code unknown;
  if (std::filesystem::is_directory(record.name, unknown)) return openDirectory(options, err);
  const auto source = sourceOf(record, err);
  if (source == nullptr) return false;
  std::optional<std::string> error;
  reader_ = capture::openCapture(source, options.form, openOptions(options), &error);
  if (reader_ != nullptr) return true;
  complain(err, record.name, textOrNull(source->error() ? source->error() : error));
  return false;
}

InputRecord& CaptureInput::record(Direction direction) {
  return *records_[isPair_ && direction == Direction::toController ? 1 : 0];
}

std::size_t CaptureInput::number(std::size_t first) {
  std::size_t count = 0;
  for (const auto& record : records_) {
    if (!record->name.empty()) record->input = first + count++;
  }
  return count;
}

std::optional<std::string> CaptureInput::error() const {
  for (const auto& source : sources_) {
    if (source->error()) return source->error();
  }
  return reader_->error();
}

const std::vector<std::unique_ptr<InputRecord>>& CaptureInput::close(std::ostream& err) {
  std::erase_if(records_, [](const auto& record) { return record->name.empty(); });
  for (std::size_t i = 0; i < records_.size(); ++i) {
    InputRecord& record = *records_[i];
    std::optional<std::string> error = isPair_ ? sources_[i]->error() : this->error();
    if (!isPair_) {
      record.format = reader_->format();
      if (record.fidelity != "damaged") record.fidelity = nameOf(reader_->fidelity());
    }
    if (SignalWatch::signal() != 0) record.complete = false;
    if (error) {
      complain(err, record.name, *error);
      record.complete = false;
    }
    record.lost = lossTexts(record, reader_->fidelity(), records_.size() == 1);
  }
  // A run of many inputs is not to keep them all open.
  reader_.reset();
  sources_.clear();
  return records_;
}

const std::string& CaptureInput::name() const {
  const bool isFirst = records_.size() == 1 || !records_.front()->name.empty();
  return (isFirst ? records_.front() : records_.back())->name;
}

std::string_view CaptureInput::partName() const {
  const std::string_view format = reader_->format();
  if (format == "pcap" || format == "pcapng") return "packet";
  if (format == "har") return "entry";
  return format == "ndjson" ? "line" : "";
}

}  // namespace qv::check
