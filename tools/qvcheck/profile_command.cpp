#include "tools/qvcheck/profile_command.h"

#include "tools/qvcheck/output_files.h"
#include "tools/qvcheck/profile_loading.h"

namespace qv::check {

int runProfileCheck(const ProfileCheckOptions& options, std::ostream& out, std::ostream& err,
                    bool outIsTerminal) {
  return writeReport(options.report, out, err, outIsTerminal, false, [&](Report& report) {
    RunRecord run;
    run.command = "profile check";
    for (const std::string& file : options.files) run.options.emplace_back("file", file);
    report.run(run);
    loadProfiles(options.files, report, err);
    return report.finish(false);
  });
}

}  // namespace qv::check
