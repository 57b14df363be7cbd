#include "tools/qvcheck/profile_command.h"

#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/output_files.h"
#include "tools/qvcheck/profile_loading.h"

namespace qv::check {

int runProfileCheck(const ProfileCheckOptions& options, std::ostream& out, std::ostream& err,
                    bool outIsTerminal) {
  OutputFiles outputs(options.report, out, outIsTerminal, false);
  if (outputs.error()) {
    err << "qvcheck: " << escaped(*outputs.error()) << '\n';
    return static_cast<int>(ExitCode::usage);
  }
  Report report(outputs.sinks(), options.report.failOn);
  RunRecord run;
  run.command = "profile check";
  for (const std::string& file : options.files) run.options.emplace_back("file", file);
  report.run(run);
  loadProfiles(options.files, report, err);
  const int exit = report.finish(false);
  if (outputs.flush()) return exit;
  err << "qvcheck: the report could not be written whole\n";
  return static_cast<int>(ExitCode::toolFault);
}

}  // namespace qv::check
