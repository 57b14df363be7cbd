#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/qvcheck/report_options.h"

namespace qv::check {

struct ProfileCheckOptions {
  std::vector<std::string> files;
  bool survey = false;  // go on after a fault
  ReportOptions report;
};

// Makes one file out of profiles.
struct ProfileOutputOptions {
  enum class Form : std::uint8_t { header, page, archive };

  Form form = Form::header;
  std::vector<std::string> files;
  std::string output;                 // empty for standard output
  std::string nameSpace = "profile";  // of the header
};

}  // namespace qv::check
