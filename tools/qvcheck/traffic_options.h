#pragma once

#include "tools/qvcheck/connection_options.h"
#include "tools/qvcheck/report_options.h"

namespace qv::check {

struct TrafficOptions : ConnectionOptions {
  FindingLimits limits;
  bool failFast = false;
  ReportOptions report;
};

}  // namespace qv::check
