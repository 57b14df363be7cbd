#include "tools/qvcheck/input_findings.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "tools/qvcheck/finding_builder.h"

namespace qv::check {

namespace {

using capture::InputNoteKind;

enum class Loss : std::uint8_t { none, incomplete, damaged };

struct NoteRow {
  InputNoteKind kind;
  const char* rule;
  Severity severity;
  Loss loss;
};

constexpr NoteRow kRows[] = {
    {InputNoteKind::truncated, "input.incomplete", Severity::note, Loss::incomplete},
    {InputNoteKind::unreadablePart, "input.damaged", Severity::warning, Loss::damaged},
    {InputNoteKind::unsupportedPackets, "input.left-out", Severity::note, Loss::none},
    {InputNoteKind::conflictingOverlap, "input.overlap", Severity::note, Loss::none},
    {InputNoteKind::reassemblyLimit, "input.limit", Severity::warning, Loss::incomplete},
    {InputNoteKind::connectionsSkipped, "input.left-out", Severity::note, Loss::none},
    {InputNoteKind::eventsNotHeld, "input.no-events", Severity::note, Loss::none},
};

}  // namespace

Finding findingForInput(const capture::InputNote& note, InputRecord& input) {
  const auto* row = std::ranges::find(kRows, note.kind, &NoteRow::kind);
  if (row->loss == Loss::incomplete) input.complete = false;
  if (row->loss == Loss::damaged) input.fidelity = "damaged";
  return remark(row->rule, row->severity, note.text, note.offset, note.length);
}

}  // namespace qv::check
