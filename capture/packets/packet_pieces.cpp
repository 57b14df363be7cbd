#include <utility>

#include <fmt/format.h>

#include "capture/packets/packet_segments.h"

namespace qv::capture {
namespace {

class PieceSegments final : public PacketSegments {
 public:
  PieceSegments(std::vector<std::string> paths, PieceOpening open)
      : paths_(std::move(paths)), open_(std::move(open)) {}

  std::optional<TCPSegment> next() override {
    while (file_ != nullptr || openNext()) {
      if (std::optional<TCPSegment> segment = file_->next()) {
        noteOrder(segment->place.timeNs);
        segment->place.number += before_;
        return segment;
      }
      end();
    }
    return std::nullopt;
  }

  std::optional<InputNote> nextNote() override {
    if (notesGiven_ == notes_.size()) return std::nullopt;
    return std::move(notes_[notesGiven_++]);
  }

  std::string_view format() const override { return format_; }
  std::uint64_t packets() const override {
    return before_ + (file_ == nullptr ? 0 : file_->packets());
  }

 private:
  // What cannot be read is a note; false behind the last one.
  bool openNext() {
    while (opened_ < paths_.size()) {
      source_ = open_(paths_[opened_++]);
      const auto peeked = std::make_shared<PeekedSource>(source_);
      if (peeked->peek(1).empty() && !peeked->error()) {
        add({InputNoteKind::leftOut, "it is empty", 0, 0, {}, {}, {}});
        continue;
      }
      std::optional<std::string> error;
      file_ = PacketSegments::open(peeked, &error);
      if (file_ != nullptr) {
        if (format_.empty()) format_ = file_->format();
        return true;
      }
      add({InputNoteKind::unreadablePart, error.value_or(""), 0, 0, {}, {}, {}});
    }
    return false;
  }

  // Once for a piece, by its first segment.
  void noteOrder(std::optional<std::int64_t> time) {
    constexpr std::uint64_t kSecond = 1'000'000'000;
    if (!time) return;
    const bool isFirst = std::exchange(timedPiece_, opened_) != opened_;
    const std::uint64_t back = *time < lastTime_ ? static_cast<std::uint64_t>(lastTime_) -
                                                       static_cast<std::uint64_t>(*time)
                                                 : 0;
    if (isFirst && back > kSecond) {
      add({InputNoteKind::piecesDisordered,
           fmt::format("it begins {} s before the piece in front of it ends", back / kSecond),
           0,
           0,
           {},
           {},
           {}});
    }
    lastTime_ = *time;
  }

  void end() {
    while (std::optional<InputNote> note = file_->nextNote()) {
      if (note->place.number > 0) note->place.number += before_;
      add(*std::move(note));
    }
    if (const auto error = source_->error()) {
      add({InputNoteKind::unreadablePart, *error, 0, 0, {}, {}, {}});
    }
    before_ += file_->packets();
    file_.reset();
  }

  void add(InputNote note) {
    note.text = paths_[opened_ - 1] + ": " + note.text;
    notes_.push_back(std::move(note));
  }

  std::vector<std::string> paths_;
  PieceOpening open_;
  std::size_t opened_ = 0;
  std::shared_ptr<ByteSource> source_;
  std::unique_ptr<PacketSegments> file_;
  std::string_view format_;
  std::size_t timedPiece_ = 0;  // the one that `lastTime_` is from, counted like `opened_`
  std::int64_t lastTime_ = 0;
  std::uint64_t before_ = 0;  // packets of the files before
  std::vector<InputNote> notes_;
  std::size_t notesGiven_ = 0;
};

}  // namespace

std::unique_ptr<PacketSegments> PacketSegments::openPieces(std::vector<std::string> paths,
                                                           PieceOpening open) {
  return std::make_unique<PieceSegments>(std::move(paths), std::move(open));
}

}  // namespace qv::capture
