#include "tools/qvcheck/output_files.h"

#include <fstream>

#include "tools/qvcheck/capture_input.h"
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
    if (choice.form == OutputForm::capture) {
      captures_.emplace_back([stream](std::string_view lines) { *stream << lines; });
      continue;
    }
    const bool color = wantsColor(options.color, choice.file.empty() && outIsTerminal);
    sinks_.push_back(std::make_unique<TextReport>(
        *stream, TextReport::Style{options.quiet, options.verbose, color, judging}));
  }
}

OutputFiles::~OutputFiles() = default;

std::vector<ReportSink*> OutputFiles::sinks() const {
  std::vector<ReportSink*> sinks;
  for (const auto& sink : sinks_) sinks.push_back(sink.get());
  return sinks;
}

void OutputFiles::take(const capture::CaptureEvent& event) {
  for (capture::CaptureRecordWriter& writer : captures_) writer.write(event);
}

void OutputFiles::endInput(const CaptureInput& input, bool stopped) {
  std::optional<std::string> why = input.error();
  if (!why && stopped) why = "reading was stopped here";
  for (capture::CaptureRecordWriter& writer : captures_) {
    if (why) {
      writer.write(capture::InputNote{capture::InputNoteKind::truncated, *why, 0, 0, {}, {}, {}});
    }
    writer.endInput(input.reader().fidelity());
  }
}

bool OutputFiles::flush() {
  for (const auto& sink : sinks_) sink->flush();
  bool written = static_cast<bool>(out_.flush());
  for (const auto& file : files_) written = static_cast<bool>(file->flush()) && written;
  return written;
}

int writeReport(const ReportOptions& options, std::ostream& out, std::ostream& err,
                bool outIsTerminal, bool judging,
                const std::function<int(Report&, OutputFiles&)>& run, ReportSink* before) {
  OutputFiles outputs(options, out, outIsTerminal, judging);
  if (outputs.error()) {
    err << "qvcheck: " << escaped(*outputs.error()) << '\n';
    return static_cast<int>(ExitCode::usage);
  }
  std::vector<ReportSink*> sinks = outputs.sinks();
  if (before != nullptr) sinks.insert(sinks.begin(), before);
  Report report(std::move(sinks), options.failOn);
  const int exit = run(report, outputs);
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
