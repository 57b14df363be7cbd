#pragma once

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

#include "capture/capture_reader.h"
#include "capture/http/framed_message.h"

// The words of `capture` records, read both ways.
namespace qv::capture {

template <class T>
struct Word {
  T value;
  std::string_view word;
};

inline constexpr Word<Direction> kDirectionWords[] = {
    {Direction::toAccessory, "to_accessory"},
    {Direction::toController, "to_controller"},
};

inline constexpr Word<Fidelity> kFidelityWords[] = {
    {Fidelity::exact, "exact"},
    {Fidelity::reconstructed, "reconstructed"},
    {Fidelity::damaged, "damaged"},
};

inline constexpr Word<Completeness> kCompletenessWords[] = {
    {Completeness::complete, "complete"},
    {Completeness::headerCut, "header_cut"},
    {Completeness::bodyCut, "body_cut"},
    {Completeness::chunkUnreadable, "chunk_unreadable"},
    {Completeness::lengthUnreadable, "length_unreadable"},
    {Completeness::tooLarge, "too_large"},
    {Completeness::bytesMissing, "bytes_missing"},
    {Completeness::bodyDamaged, "body_damaged"},
    {Completeness::givenUp, "given_up"},
    {Completeness::closedInHeader, "closed_in_header"},
    {Completeness::closedInBody, "closed_in_body"},
    {Completeness::resetInHeader, "reset_in_header"},
    {Completeness::resetInBody, "reset_in_body"},
    {Completeness::abandoned, "abandoned"},
};

inline constexpr Word<DamageKind> kDamageWords[] = {
    {DamageKind::noMessage, "no_message"},   {DamageKind::looksLikeTLS, "looks_like_tls"},
    {DamageKind::emptyLines, "empty_lines"}, {DamageKind::behindGap, "behind_gap"},
    {DamageKind::givenUp, "given_up"},
};

inline constexpr Word<InputNoteKind> kInputNoteWords[] = {
    {InputNoteKind::truncated, "truncated"},
    {InputNoteKind::unreadablePart, "unreadable_part"},
    {InputNoteKind::unsupportedPackets, "unsupported_packets"},
    {InputNoteKind::conflictingOverlap, "conflicting_overlap"},
    {InputNoteKind::reassemblyLimit, "reassembly_limit"},
    {InputNoteKind::unfinishedGivenUp, "unfinished_given_up"},
    {InputNoteKind::cameTooLate, "came_too_late"},
    {InputNoteKind::connectionsSkipped, "connections_skipped"},
    {InputNoteKind::connectionsMissing, "connections_missing"},
    {InputNoteKind::eventsNotHeld, "events_not_held"},
    {InputNoteKind::leftOut, "left_out"},
    {InputNoteKind::piecesDisordered, "pieces_disordered"},
    {InputNoteKind::nothingHeld, "nothing_held"},
};

inline constexpr Word<FramingNoteKind> kFramingNoteWords[] = {
    {FramingNoteKind::emptyLinesBeforeStartLine, "empty_lines_before_start_line"},
    {FramingNoteKind::bareLineFeed, "bare_line_feed"},
    {FramingNoteKind::bareCarriageReturn, "bare_carriage_return"},
    {FramingNoteKind::spaceBeforeColon, "space_before_colon"},
    {FramingNoteKind::foldedFramingField, "folded_framing_field"},
    {FramingNoteKind::contentLengthRepeated, "content_length_repeated"},
    {FramingNoteKind::contentLengthDiffers, "content_length_differs"},
    {FramingNoteKind::contentLengthSigned, "content_length_signed"},
    {FramingNoteKind::contentLengthUnreadable, "content_length_unreadable"},
    {FramingNoteKind::contentLengthHuge, "content_length_huge"},
    {FramingNoteKind::contentLengthBesideTransferEncoding,
     "content_length_beside_transfer_encoding"},
    {FramingNoteKind::unknownTransferCoding, "unknown_transfer_coding"},
    {FramingNoteKind::announcedBodyMissing, "announced_body_missing"},
    {FramingNoteKind::chunkSizeUnreadable, "chunk_size_unreadable"},
    {FramingNoteKind::chunkSizeOverflow, "chunk_size_overflow"},
    {FramingNoteKind::chunkLineTooLong, "chunk_line_too_long"},
    {FramingNoteKind::chunkDataUnterminated, "chunk_data_unterminated"},
    {FramingNoteKind::trailersPresent, "trailers_present"},
    {FramingNoteKind::trailersUnterminated, "trailers_unterminated"},
    {FramingNoteKind::bodyEndedByClose, "body_ended_by_close"},
    {FramingNoteKind::startLineInBody, "start_line_in_body"},
    {FramingNoteKind::strayBodyAfter204, "stray_body_after_204"},
    {FramingNoteKind::largerThanLimit, "larger_than_limit"},
};

template <class T, std::size_t N>
constexpr std::string_view wordFor(const Word<T> (&words)[N], T value) {
  const auto* row = std::ranges::find(words, value, &Word<T>::value);
  return row == std::end(words) ? std::string_view() : row->word;
}

template <class T, std::size_t N>
constexpr std::optional<T> valueFor(const Word<T> (&words)[N], std::string_view word) {
  const auto* row = std::ranges::find(words, word, &Word<T>::word);
  if (row == std::end(words)) return std::nullopt;
  return row->value;
}

}  // namespace qv::capture
