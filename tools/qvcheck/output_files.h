#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "capture/records/capture_record_writer.h"
#include "tools/qvcheck/report.h"
#include "tools/qvcheck/report_options.h"

namespace qv::check {

class CaptureInput;

// The outputs that a run was asked for, opened.
class OutputFiles {
 public:
  // Opens files and makes the sinks. `judging` tells what kind of summary the text report gives;
  // `outIsTerminal` decides about color when it is automatic.
  OutputFiles(const ReportOptions& options, std::ostream& out, bool outIsTerminal, bool judging);
  ~OutputFiles();
  OutputFiles(const OutputFiles&) = delete;
  OutputFiles& operator=(const OutputFiles&) = delete;

  // What could not be opened; null when all is well.
  const std::optional<std::string>& error() const { return error_; }
  std::vector<ReportSink*> sinks() const;
  // Outputs that take the inputs themselves.
  void take(const capture::CaptureEvent& event);
  void endInput(const CaptureInput& input, bool stopped);
  // Writes what was held back and flushes everything; false when something could not be written.
  bool flush();

 private:
  std::vector<std::unique_ptr<std::ostream>> files_;
  std::vector<std::unique_ptr<ReportSink>> sinks_;
  std::vector<capture::CaptureRecordWriter> captures_;
  std::ostream& out_;
  std::optional<std::string> error_;
};

// Opens the outputs, lets `run` report to them, and answers its exit code; what stands in the way
// goes to `err` and decides the code instead.
int writeReport(const ReportOptions& options, std::ostream& out, std::ostream& err,
                bool outIsTerminal, bool judging,
                const std::function<int(Report&, OutputFiles&)>& run, ReportSink* before = nullptr);

// Writes the content to the file, or to `out` when no file is named. Answers the exit code.
int writeContent(const std::string& file, const std::string& content, std::ostream& out,
                 std::ostream& err);

}  // namespace qv::check
