#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/qvcheck/report_options.h"

namespace qv::check {

struct TrafficOptions {
  std::vector<std::string> profiles;
  std::string requestFile;
  std::string responseFile;
  std::size_t maxMessageSize = std::size_t{64} << 20;  // bytes
  ReportOptions report;
};

}  // namespace qv::check
