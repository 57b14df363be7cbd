#include "tools/qvcheck/renumbering_sink.h"

#include "tools/qvcheck/report_texts.h"

namespace qv::check {

RenumberingSink::RenumberingSink(Report& report, std::size_t inputs)
    : report_(report),
      inputs_(inputs),
      connections_(report.nextConnection() - 1),
      messages_(report.nextMessage() - 1) {}

void RenumberingSink::input(const InputRecord& record) {
  InputRecord renumbered = record;
  renumbered.input += inputs_;
  report_.input(renumbered);
}

void RenumberingSink::connection(const ConnectionRecord& record) {
  ConnectionRecord renumbered = record;
  renumbered.connection += connections_;
  renumbered.input += inputs_;
  report_.connection(renumbered);
}

void RenumberingSink::message(const MessageRecord& record) {
  MessageRecord renumbered = record;
  renumbered.message += messages_;
  renumbered.connection += connections_;
  if (renumbered.answers) *renumbered.answers += messages_;
  report_.message(renumbered);
}

void RenumberingSink::finding(const Finding& record) {
  Finding renumbered = record;
  renumbered.finding = report_.nextFinding();
  if (renumbered.message) *renumbered.message += messages_;
  if (renumbered.location.input) *renumbered.location.input += inputs_;
  renumberText(renumbered, connections_, messages_);
  report_.finding(renumbered);
}

void RenumberingSink::gap(const GapRecord& record) {
  GapRecord renumbered = record;
  renumbered.connection += connections_;
  report_.gap(renumbered);
}

}  // namespace qv::check
