#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "capture/capture_reader.h"
#include "tools/qvcheck/capture_input.h"
#include "tools/qvcheck/message_checker.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// Checks what one capture holds: a checker for each of its connections that is open.
class CaptureCheck {
 public:
  CaptureCheck(Report& report, CaptureInput& input) : report_(report), input_(input) {}

  void take(const capture::CaptureEvent& event);
  // For a capture that was read to its end: closes the connections that it left open.
  void finish();

 private:
  void take(const capture::ConnectionOpened& opened);
  void take(const capture::ExchangeRecord& record);
  void take(const capture::InputNote& note);
  void take(const capture::ConnectionClosed& closed);

  Report& report_;
  CaptureInput& input_;
  std::map<std::uint64_t, std::unique_ptr<MessageChecker>> checkers_;
};

}  // namespace qv::check
