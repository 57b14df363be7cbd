#include "tools/qvcheck/output_files.h"

#include <fstream>

#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/ink.h"
#include "tools/qvcheck/ndjson_report.h"
#include "tools/qvcheck/text_report.h"

namespace qv::check {

OutputFiles::OutputFiles(const ReportOptions& options, std::ostream& out, bool outIsTerminal,
                         bool judging)
    : out_(out) {
  for (const OutputChoice& choice : options.outputs) {
    std::ostream* stream = &out;
    if (!choice.file.empty()) {
      auto file = std::make_unique<std::ofstream>(choice.file, std::ios::binary | std::ios::trunc);
      if (!*file) {
        error_ = "cannot write " + choice.file;
        return;
      }
      stream = file.get();
      files_.push_back(std::move(file));
    }
    if (choice.form == OutputForm::ndjson) {
      sinks_.push_back(std::make_unique<NDJSONReport>(*stream));
      continue;
    }
    const bool color = wantsColor(options.color, choice.file.empty() && outIsTerminal);
    sinks_.push_back(
        std::make_unique<TextReport>(*stream, TextReport::Style{options.quiet, color, judging}));
  }
}

OutputFiles::~OutputFiles() = default;

std::vector<ReportSink*> OutputFiles::sinks() const {
  std::vector<ReportSink*> sinks;
  for (const auto& sink : sinks_) sinks.push_back(sink.get());
  return sinks;
}

bool OutputFiles::flush() {
  bool written = static_cast<bool>(out_.flush());
  for (const auto& file : files_) written = static_cast<bool>(file->flush()) && written;
  return written;
}

int writeReport(const ReportOptions& options, std::ostream& out, std::ostream& err,
                bool outIsTerminal, bool judging, const std::function<int(Report&)>& run) {
  OutputFiles outputs(options, out, outIsTerminal, judging);
  if (outputs.error()) {
    err << "qvcheck: " << escaped(*outputs.error()) << '\n';
    return static_cast<int>(ExitCode::usage);
  }
  Report report(outputs.sinks(), options.failOn);
  const int exit = run(report);
  if (outputs.flush()) return exit;
  err << "qvcheck: the report could not be written whole\n";
  return static_cast<int>(ExitCode::toolFault);
}

int writeContent(const std::string& file, const std::string& content, std::ostream& out,
                 std::ostream& err) {
  std::ofstream target;
  if (!file.empty()) {
    target.open(file, std::ios::binary | std::ios::trunc);
    if (!target) {
      err << "qvcheck: cannot write " << escaped(file) << '\n';
      return static_cast<int>(ExitCode::usage);
    }
  }
  std::ostream& stream = file.empty() ? out : target;
  if (stream << content && stream.flush()) return static_cast<int>(ExitCode::clean);
  err << "qvcheck: the output could not be written whole\n";
  return static_cast<int>(ExitCode::toolFault);
}

}  // namespace qv::check
