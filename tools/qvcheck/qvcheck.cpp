#include "tools/qvcheck/qvcheck.h"

#include <exception>
#include <variant>

#include "tools/qvcheck/command_line.h"
#include "tools/qvcheck/profile_command.h"
#include "tools/qvcheck/saved_run_command.h"
#include "tools/qvcheck/show_command.h"
#include "tools/qvcheck/traffic_command.h"
#include "tools/qvcheck/value_command.h"

namespace qv::check {

namespace {

struct Runner {
  std::ostream& out;
  std::ostream& err;
  bool outIsTerminal;
  bool errIsTerminal;

  int operator()(const Answer& answer) const {
    (answer.exit == ExitCode::clean ? out : err) << answer.text;
    return static_cast<int>(out.flush() ? answer.exit : ExitCode::toolFault);
  }
  int operator()(const TrafficOptions& options) const {
    return runTraffic(options, out, err, outIsTerminal, errIsTerminal);
  }
  int operator()(const SavedRunOptions& options) const {
    return runReport(options, out, err, outIsTerminal);
  }
  int operator()(const ShowOptions& options) const {
    return runShow(options, out, err, outIsTerminal);
  }
  int operator()(const ProfileCheckOptions& options) const {
    return runProfileCheck(options, out, err, outIsTerminal);
  }
  int operator()(const ProfileOutputOptions& options) const {
    return runProfileOutput(options, out, err);
  }
  int operator()(const ValueOptions& options) const { return runValue(options, out, err); }
};

}  // namespace

int runQvcheck(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               bool outIsTerminal, bool errIsTerminal) {
  try {
    return std::visit(Runner{out, err, outIsTerminal, errIsTerminal}, parseCommandLine(arguments));
  } catch (const std::exception& fault) {
    err << "qvcheck: fault of the tool itself: " << fault.what() << '\n';
    return static_cast<int>(ExitCode::toolFault);
  }
}

}  // namespace qv::check
