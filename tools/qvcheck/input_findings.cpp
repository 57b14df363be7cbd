#include "tools/qvcheck/input_findings.h"

#include <algorithm>
#include <iterator>
#include <string>

#include <fmt/format.h>

#include "tools/qvcheck/capture_input.h"
#include "tools/qvcheck/finding_builder.h"
#include "tools/qvcheck/report_texts.h"

namespace qv::check {

namespace {

using capture::InputNoteKind;

enum class Loss : std::uint8_t { none, end, bytes, part, connections, events };

struct NoteRow {
  InputNoteKind kind;
  const char* rule;
  Severity severity;
  Loss loss;
};

constexpr NoteRow kRows[] = {
    {InputNoteKind::truncated, "input.incomplete", Severity::note, Loss::end},
    {InputNoteKind::unreadablePart, "input.damaged", Severity::warning, Loss::part},
    {InputNoteKind::unsupportedPackets, "input.left-out", Severity::note, Loss::none},
    {InputNoteKind::conflictingOverlap, "input.overlap", Severity::note, Loss::none},
    {InputNoteKind::reassemblyLimit, "input.limit", Severity::warning, Loss::bytes},
    {InputNoteKind::unfinishedGivenUp, "input.limit", Severity::warning, Loss::bytes},
    {InputNoteKind::cameTooLate, "input.gap", Severity::note, Loss::none},
    {InputNoteKind::connectionsSkipped, "input.left-out", Severity::note, Loss::none},
    {InputNoteKind::connectionsMissing, "input.gap", Severity::warning, Loss::connections},
    {InputNoteKind::eventsNotHeld, "input.no-events", Severity::note, Loss::events},
    {InputNoteKind::leftOut, "input.left-out", Severity::note, Loss::none},
    {InputNoteKind::piecesDisordered, "input.order", Severity::note, Loss::none},
    {InputNoteKind::nothingHeld, "input.empty", Severity::note, Loss::none},
};

const NoteRow& rowFor(InputNoteKind kind) {
  return *std::ranges::find(kRows, kind, &NoteRow::kind);
}

struct LossKeeper {
  CaptureInput& input;

  void operator()(const capture::ConnectionOpened&) const {}
  void operator()(const capture::ConnectionClosed&) const {}

  void operator()(const capture::InputNote& note) const {
    InputRecord& record = input.record(note.direction.value_or(capture::Direction::toAccessory));
    InputLosses& losses = record.losses;
    switch (rowFor(note.kind).loss) {
      case Loss::none:
        break;
      case Loss::end:
        losses.endsEarly = true;
        break;
      case Loss::bytes:
        losses.bytesGivenUp = true;
        break;
      case Loss::part:
        ++losses.damagedParts;
        break;
      case Loss::connections:
        losses.connectionsMissing = true;
        break;
      case Loss::events:
        losses.holdsNoEvents = true;
        break;
    }
    mark(record);
  }

  void operator()(const capture::ExchangeRecord& exchange) const {
    InputRecord& record = input.record(exchange.direction);
    InputLosses& losses = record.losses;
    if (const capture::Gap* gap = exchange.gap()) {
      ++losses.gaps;
      losses.bytesMissing += gap->length;
    } else if (const capture::Damage* damage = exchange.damage()) {
      const bool counts =
          damage->kind != capture::DamageKind::emptyLines && !capture::isRest(damage->kind);
      if (counts) ++losses.damagedParts;
      if (capture::isRest(damage->kind)) record.complete = false;
    } else {
      const capture::Completeness completeness = exchange.message()->completeness;
      losses.endsEarly =
          losses.endsEarly || capture::cutKindOf(completeness) == capture::CutKind::byCapture;
      if (completeness == capture::Completeness::bodyDamaged) ++losses.changedBodies;
      const bool isRequest = exchange.direction == capture::Direction::toAccessory;
      (isRequest ? losses.holdsRequests : losses.holdsResponses) = true;
    }
    mark(record);
  }

  static void mark(InputRecord& record) {
    const InputLosses& losses = record.losses;
    if (losses.gaps > 0 || losses.connectionsMissing || losses.endsEarly || losses.bytesGivenUp)
      record.complete = false;
    if (losses.damagedParts > 0) record.fidelity = "damaged";
  }
};

}  // namespace

Finding findingForInput(const capture::InputNote& note) {
  const NoteRow& row = rowFor(note.kind);
  return remark(row.rule, row.severity, note.text, note.offset, note.length);
}

Finding findingForFailure(const InputRecord& input) {
  Finding finding = remark("input.unreadable", Severity::warning, input.failure.value_or(""), 0, 0);
  finding.location.input = input.input;
  finding.location.name = input.name;
  return finding;
}

void noteLosses(const capture::CaptureEvent& event, CaptureInput& input) {
  std::visit(LossKeeper{input}, event);
}

std::vector<std::string> lossTexts(const InputRecord& record, capture::Fidelity fidelity,
                                   bool isAlone) {
  const InputLosses& losses = record.losses;
  std::vector<std::string> texts;
  if (record.failure) texts.push_back(*record.failure);
  if (isAlone && record.format == "http" && losses.holdsRequests != losses.holdsResponses) {
    texts.push_back(
        fmt::format("it is one direction, the {} are not held (--request and --response read both)",
                    losses.holdsRequests ? "responses" : "requests"));
  }
  if (fidelity == capture::Fidelity::reconstructed || record.format == "har") {
    texts.emplace_back("header blocks are reconstructed");
  }
  if (losses.holdsNoEvents) texts.emplace_back("event notifications are not held");
  if (losses.gaps > 0) {
    texts.push_back(counted(losses.gaps, "gap"));
    texts.push_back(counted(losses.bytesMissing, "byte") + " missing");
  }
  if (losses.connectionsMissing) texts.emplace_back("most bytes of connections are missing");
  if (losses.damagedParts > 0) texts.push_back(counted(losses.damagedParts, "damaged part"));
  if (losses.changedBodies > 0) {
    texts.push_back(counted(losses.changedBodies, "message") + " with a changed body");
  }
  if (losses.bytesGivenUp) texts.emplace_back("bytes were given up to keep memory within bounds");
  if (losses.endsEarly) texts.emplace_back("it ends early");
  if (!record.complete && texts.empty()) texts.emplace_back("it was not read to its end");
  return texts;
}

}  // namespace qv::check
