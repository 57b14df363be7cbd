#include "tools/qvcheck/capture_input.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "capture/capture_folder.h"
#include "capture/capture_opening.h"
#include "capture/http/stream_pair_reader.h"
#include "capture/io/gzip_source.h"
#include "capture/io/piece_files.h"
#include "capture/packets/packet_capture_reader.h"
#include "capture/records/capture_words.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/input_findings.h"
#include "tools/qvcheck/named_file.h"
#include "tools/qvcheck/signal_watch.h"

namespace qv::check {

namespace {

using capture::ByteSource;
using capture::ByteStreamItems;
using capture::Direction;

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
  record->fidelity = "exact";
  return record;
}

bool isDirectory(const std::string& name) {
  std::error_code unknown;
  return std::filesystem::is_directory(name, unknown);
}

// What is common to the names of pieces, with a star for the rest: "day/run*.pcap".
std::string commonName(const std::vector<std::string>& pieces) {
  if (pieces.empty()) return {};
  if (pieces.size() == 1) return pieces.front();
  std::string_view first = pieces.front();
  std::size_t before = first.size();
  std::size_t behind = first.size();
  for (const std::string_view name : pieces) {
    const auto differsAt = std::ranges::mismatch(first, name).in1 - first.begin();
    before = std::min(before, static_cast<std::size_t>(differsAt));
    const auto same = std::mismatch(first.rbegin(), first.rend(), name.rbegin(), name.rend());
    behind = std::min(behind, static_cast<std::size_t>(same.first - first.rbegin()));
  }
  std::string name(first.substr(0, before));
  first.remove_prefix(before);
  return name + "*" + std::string(first.substr(first.size() - std::min(behind, first.size())));
}

// Whether there is something to check, or the event says why there is nothing.
bool isTrafficOrWhyNot(const capture::CaptureEvent& event) {
  using capture::InputNoteKind;
  constexpr InputNoteKind kReasons[] = {InputNoteKind::unsupportedPackets,
                                        InputNoteKind::connectionsSkipped, InputNoteKind::leftOut,
                                        InputNoteKind::nothingHeld};
  if (const auto* note = std::get_if<capture::InputNote>(&event)) {
    return std::ranges::find(kReasons, note->kind) != std::end(kReasons);
  }
  const auto* record = std::get_if<capture::ExchangeRecord>(&event);
  if (record == nullptr) return false;
  const capture::Damage* damage = record->damage();
  return damage == nullptr || damage->kind != capture::DamageKind::emptyLines;
}

constexpr std::string_view kOfNoForm = "files of no form that is read";
constexpr std::string_view kOfOtherForm = "files of other forms than the one asked for";
constexpr std::string_view kNoFiles = "directories or the like";

void addLeftOut(std::deque<capture::InputNote>& notes, const std::string& directory,
                std::string_view what, std::vector<std::string> names) {
  constexpr std::size_t kMostNamed = 10;
  if (names.empty()) return;
  const std::size_t count = names.size();
  names.resize(std::min(count, kMostNamed));
  notes.push_back({capture::InputNoteKind::leftOut,
                   fmt::format("{} left out of {}: {} ({}{})", what, directory, count,
                               fmt::join(names, ", "), count > kMostNamed ? ", ..." : ""),
                   0,
                   0,
                   {},
                   {},
                   {}});
}

capture::OpenOptions openOptions(const CaptureOptions& options) {
  return {capture::FramingLimits{options.maxMessageSize}, options.port,
          "; leave out --input-format " + std::string(nameOf(options.form))};
}

}  // namespace

std::vector<std::unique_ptr<CaptureInput>> CaptureInput::all(const CaptureOptions& options) {
  std::vector<std::unique_ptr<CaptureInput>> inputs;
  if (options.hasStreams()) {
    auto input = std::make_unique<CaptureInput>();
    input->isPair_ = true;
    input->addStream(options.requestFile, Direction::toAccessory);
    input->addStream(options.responseFile, Direction::toController);
    inputs.push_back(std::move(input));
  }
  for (const std::string& name : options.inputs) {
    if (isDirectory(name)) {
      addDirectory(name, options.form, inputs);
    } else {
      inputs.push_back(std::make_unique<CaptureInput>());
      inputs.back()->records_.push_back(recordFor(name));
    }
  }
  return inputs;
}

void CaptureInput::addStream(const std::string& name, Direction direction) {
  records_.push_back(recordFor(name));
  InputRecord& record = *records_.back();
  if (!isDirectory(name)) return;
  std::optional<std::string> error;
  auto contents = capture::streamIn(name, direction, &error);
  if (!contents) {
    record.failure = textOrNull(error);
    return;
  }
  piecesOf(record) = std::move(contents->captures.front().files);
  addLeftOut(notes_, name, kOfOtherForm, std::move(contents->unknown));
  addLeftOut(notes_, name, kNoFiles, std::move(contents->notFiles));
}

void CaptureInput::addDirectory(const std::string& name, capture::CaptureForm form,
                                std::vector<std::unique_ptr<CaptureInput>>& inputs) {
  std::optional<std::string> error;
  auto contents = capture::capturesIn(name, form, &error);
  if (!contents) {
    inputs.push_back(std::make_unique<CaptureInput>());
    inputs.back()->records_.push_back(recordFor(name));
    inputs.back()->records_.back()->failure = textOrNull(error);
    return;
  }
  const std::size_t first = inputs.size();
  for (capture::FolderCapture& capture : contents->captures) {
    inputs.push_back(std::make_unique<CaptureInput>());
    CaptureInput& input = *inputs.back();
    input.isPair_ = capture.files.empty();
    const auto add = [&](std::vector<std::string>& pieces) {
      input.records_.push_back(recordFor(commonName(pieces)));
      input.piecesOf(*input.records_.back()) = std::move(pieces);
    };
    if (input.isPair_) {
      add(capture.requests);
      add(capture.responses);
    } else {
      add(capture.files);
    }
  }
  std::deque<capture::InputNote>& notes = inputs[first]->notes_;
  addLeftOut(notes, name, form == capture::CaptureForm::automatic ? kOfNoForm : kOfOtherForm,
             std::move(contents->unknown));
  addLeftOut(notes, name, kNoFiles, std::move(contents->notFiles));
}

void CaptureInput::fail(InputRecord& record, std::string text, std::ostream& err) {
  // Of what a signal ended nothing is complained.
  if (SignalWatch::signal() != 0) return;
  err << "qvcheck: " << escaped(record.name) << ": " << escaped(text) << '\n';
  record.failure = std::move(text);
}

std::vector<std::string>& CaptureInput::piecesOf(const InputRecord& record) {
  return pieces_[&record == records_.front().get() ? 0 : 1];
}

std::shared_ptr<ByteSource> CaptureInput::sourceOf(InputRecord& record, std::ostream& err) {
  const std::vector<std::string>& pieces = piecesOf(record);
  std::shared_ptr<ByteSource> bytes;
  if (pieces.size() > 1) {
    bytes = std::make_shared<capture::FilesSource>(pieces);
  } else {
    std::optional<std::string> error;
    const std::string& path = pieces.empty() ? record.name : pieces.front();
    bytes = openNamedFile(path, beforeWaiting_, &error).bytes;
    if (bytes == nullptr) {
      fail(record, textOrNull(error), err);
      return nullptr;
    }
  }
  sources_.push_back(std::make_shared<ObservedSource>(std::move(bytes), record, onRead_));
  return sources_.back();
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
      fail(record, *other, err);
      opened = false;
    }
    streams[static_cast<std::size_t>(direction)] = std::make_shared<ByteStreamItems>(
        stream, direction, capture::FramingLimits{options.maxMessageSize});
  }
  reader_ = std::make_unique<capture::StreamPairReader>(streams[0], streams[1]);
  return opened;
}

bool CaptureInput::openPackets(const CaptureOptions& options) {
  InputRecord& record = *records_.front();
  const std::vector<std::string>& pieces = piecesOf(record);
  const bool mayBePackets =
      options.form == capture::CaptureForm::automatic || options.form == capture::CaptureForm::pcap;
  if (pieces.size() < 2 || !mayBePackets) return false;
  capture::PeekedSource first(std::make_shared<capture::FilesSource>(pieces));
  if (!capture::PacketSegments::recognises(first.peek(4))) return false;
  const auto open = [this, &record](const std::string& path) {
    return std::make_shared<ObservedSource>(
        std::make_shared<capture::FilesSource>(std::vector{path}), record, onRead_);
  };
  reader_ = capture::openPacketPieces(pieces, open, options.port,
                                      capture::FramingLimits{options.maxMessageSize});
  return true;
}

bool CaptureInput::open(const CaptureOptions& options, std::ostream& err) {
  bool isRefused = false;
  for (const auto& record : records_) {
    if (!record->failure) continue;
    fail(*record, *record->failure, err);
    isRefused = true;
  }
  if (isRefused) return false;
  if (isPair_) return openStreams(options, err);
  if (openPackets(options)) return true;
  InputRecord& record = *records_.front();
  const auto source = sourceOf(record, err);
  if (source == nullptr) return false;
  std::optional<std::string> error;
  reader_ = capture::openCapture(source, options.form, openOptions(options), &error);
  if (reader_ != nullptr) return true;
  fail(record, textOrNull(source->error() ? source->error() : error), err);
  return false;
}

std::optional<capture::CaptureEvent> CaptureInput::next() {
  if (!notes_.empty()) {
    capture::CaptureEvent note = std::move(notes_.front());
    notes_.pop_front();
    return note;
  }
  if (std::optional<capture::CaptureEvent> event = reader_->next()) {
    isExplained_ = isExplained_ || isTrafficOrWhyNot(*event);
    return event;
  }
  if (std::exchange(isExplained_, true) || error()) return std::nullopt;
  return capture::InputNote{capture::InputNoteKind::nothingHeld,
                            "there is nothing to check: " + reader_->contents(),
                            0,
                            0,
                            {},
                            {},
                            {}};
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
  const bool wasOpened =
      reader_ != nullptr && std::ranges::none_of(records_, [](const auto& record) {
        return record->failure.has_value();
      });
  for (std::size_t i = 0; i < records_.size(); ++i) {
    InputRecord& record = *records_[i];
    if (wasOpened) {
      const auto error = isPair_ ? sources_[i]->error() : this->error();
      if (error) fail(record, *error, err);
      record.format = reader_->format();
      if (!isPair_ && record.fidelity != "damaged")
        record.fidelity = capture::wordFor(capture::kFidelityWords, reader_->fidelity());
    }
    if (!wasOpened && record.failure) record.fidelity = "damaged";
    if (!wasOpened || record.failure || SignalWatch::signal() != 0) record.complete = false;
    record.lost = lossTexts(record, wasOpened ? reader_->fidelity() : capture::Fidelity::damaged,
                            records_.size() == 1);
  }
  // A run of many inputs is not to keep them all open.
  reader_.reset();
  sources_.clear();
  return records_;
}

std::vector<InputRecord> CaptureInput::unread() const {
  std::vector<InputRecord> records;
  for (const auto& record : records_) {
    if (!record->name.empty()) records.push_back(*record);
  }
  for (InputRecord& record : records) {
    record.fidelity = "damaged";
    record.complete = false;
  }
  return records;
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
