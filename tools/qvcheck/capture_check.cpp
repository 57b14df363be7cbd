#include "tools/qvcheck/capture_check.h"

#include "tools/qvcheck/input_findings.h"

namespace qv::check {

void CaptureCheck::take(const capture::CaptureEvent& event) {
  std::visit([this](const auto& what) { take(what); }, event);
}

void CaptureCheck::take(const capture::ConnectionOpened& opened) {
  InputRecord& requests = input_.record(capture::Direction::toAccessory);
  InputRecord& responses = input_.record(capture::Direction::toController);
  ConnectionRecord record;
  record.connection = report_.nextConnection();
  record.input = requests.input != 0 ? requests.input : responses.input;
  record.client = opened.client;
  record.server = opened.server;
  record.partialStart = opened.partialStart;
  checkers_[opened.connection] = std::make_unique<MessageChecker>(
      report_, record.connection, requests, responses, input_.partName());
  report_.connection(record);
}

void CaptureCheck::take(const capture::ExchangeRecord& record) {
  const auto found = checkers_.find(record.connection);
  if (found != checkers_.end()) found->second->check(record);
}

void CaptureCheck::take(const capture::InputNote& note) {
  const InputRecord& input =
      input_.record(note.direction.value_or(capture::Direction::toAccessory));
  Finding finding = findingForInput(note);
  finding.finding = report_.nextFinding();
  finding.location.input = input.input;
  finding.location.name = input.name;
  report_.finding(finding);
  const auto found = checkers_.find(note.connection.value_or(0));
  if (found != checkers_.end()) found->second->take(note.kind);
}

void CaptureCheck::take(const capture::ConnectionClosed& closed) {
  const auto found = checkers_.find(closed.connection);
  if (found == checkers_.end()) return;
  found->second->finish();
  checkers_.erase(found);
}

void CaptureCheck::finish() {
  while (!checkers_.empty()) take(capture::ConnectionClosed{checkers_.begin()->first});
}

}  // namespace qv::check
