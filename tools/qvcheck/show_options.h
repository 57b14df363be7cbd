#pragma once

#include <cstddef>
#include <optional>

#include "tools/qvcheck/capture_options.h"
#include "tools/qvcheck/report_options.h"

namespace qv::check {

struct ShowOptions : CaptureOptions {
  std::optional<std::size_t> message;  // the only one to show
  ColorChoice color = ColorChoice::automatic;
};

}  // namespace qv::check
