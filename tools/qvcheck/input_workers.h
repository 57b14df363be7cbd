#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

#include "tools/qvcheck/report.h"

namespace qv::check {

// Inputs that can be checked apart from each other.
struct WorkerTask {
  std::size_t count = 0;
  RuleSelection rules;
  std::optional<Severity> failOn;
  // Checks one input; false when nothing is to be read behind it. Runs in a process of its own.
  std::function<bool(std::size_t index, Report& report, std::ostream& err)> check;
  std::function<std::string(std::size_t index)> nameOf;
  // Reports what is to be said of an input that could not be checked to its end.
  std::function<void(std::size_t index, const std::string& text, Report& report)> lost;
  // Told here, once everything of an input was reported.
  std::function<void(std::size_t index)> reported = [](std::size_t) {};
};

// Checks the inputs in up to `jobs` processes side by side. Report and complaints are as if they
// had been checked here, one after the other; each input's come once it has been read to its end
// and those before it were reported. Until then its records wait in a temporary file. Of a worker
// that dies its input's name is told, and what the others found is kept.
void runInWorkers(const WorkerTask& task, std::size_t jobs, Report& report, std::ostream& err);

}  // namespace qv::check
