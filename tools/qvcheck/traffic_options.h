#pragma once

#include "tools/qvcheck/capture_options.h"
#include "tools/qvcheck/report_options.h"

namespace qv::check {

struct TrafficOptions : CaptureOptions {
  FindingLimits limits;
  bool failFast = false;
  bool progress = false;
  std::size_t jobs = 1;  // worker processes
  ReportOptions report;
};

}  // namespace qv::check
