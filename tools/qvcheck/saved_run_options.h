#pragma once

#include <string>
#include <vector>

#include "tools/qvcheck/report_options.h"

namespace qv::check {

struct SavedRunOptions {
  std::vector<std::string> files;
  ReportOptions report;
};

}  // namespace qv::check
