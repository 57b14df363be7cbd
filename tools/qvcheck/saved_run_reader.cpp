#include "tools/qvcheck/saved_run_reader.h"

#include <fmt/format.h>

#include <utility>

#include "qvparsersupport/common/text_readings.h"

namespace qv::check {

namespace {

constexpr std::size_t kLongestLine = std::size_t{64} << 20;

}  // namespace

SavedRunReader::SavedRunReader(std::shared_ptr<capture::ByteSource> source)
    : lines_(std::move(source), kLongestLine) {}

bool SavedRunReader::next(ReportSink& sink) {
  if (error_ || isWhole_) return false;
  const auto line = following_ ? std::exchange(following_, std::nullopt) : lines_.next();
  const auto unread = lines_.source().error();
  if (line && (line->ended || !unread)) {
    line_ = line->number;
    take(*line, sink);
  } else if (unread) {
    error_ = fmt::format("line {}: {}", line_ + 1, *unread);
  } else {
    error_ = fmt::format("line {}: the run ends without its summary", line_ + 1);
  }
  if (error_) handOnMessage(sink);
  return !error_;
}

bool SavedRunReader::goOn() {
  if (error_ || !isWhole_) return false;
  following_ = lines_.next();
  if (!following_) {
    if (const auto unread = lines_.source().error()) {
      error_ = fmt::format("line {}: {}", line_ + 1, *unread);
    }
    return false;
  }
  atBeginning_ = true;
  isWhole_ = false;
  mostFindings_ = 0;
  return true;
}

void SavedRunReader::take(const capture::InputLine& line, ReportSink& sink) {
  const auto refuse = [&](std::string_view what) {
    error_ = fmt::format("line {}: {}", line.number, what);
  };
  if (line.tooLong) return refuse("it is too long for a record");
  const SavedLine saved(line.bytes);
  if (!saved.isObject()) return refuse("this is no JSON object");
  if (atBeginning_ != (saved.type() == "run")) {
    return refuse(atBeginning_ ? "a saved run begins with its run record" : "another run begins");
  }
  atBeginning_ = false;
  std::optional<std::string> wrong;
  std::optional<SavedRecord> record = saved.record(&wrong);
  if (!record) return refuse(*wrong);
  handOnMessage(sink, std::get_if<Finding>(&*record));
  std::visit([&](auto& one) { handOn(one, sink); }, *record);
}

void SavedRunReader::handOnMessage(ReportSink& sink, const Finding* following) {
  if (!message_) return;
  if (following != nullptr && following->message == message_->message) {
    message_->inputName = following->location.name;
  }
  sink.message(*message_);
  message_.reset();
}

void SavedRunReader::handOn(const RunRecord& run, ReportSink& sink) {
  for (const auto& [name, value] : run.options) {
    if (name == "max-findings") mostFindings_ = static_cast<std::size_t>(integerReading(value));
  }
  sink.run(run);
}

void SavedRunReader::handOn(MessageRecord& message, ReportSink&) {
  message_ = std::move(message);
}

void SavedRunReader::handOn(Summary& summary, ReportSink& sink) {
  summary.mostFindings = mostFindings_;
  sink.summary(summary);
  isWhole_ = true;
}

std::vector<RunRecord> runRecordsOf(std::shared_ptr<capture::ByteSource> source) {
  std::vector<RunRecord> runs;
  capture::LineReader lines(std::move(source), kLongestLine);
  while (const auto line = lines.next()) {
    // Few others are read.
    if (textOf(line->bytes).find(R"("run")") == std::string_view::npos) continue;
    const auto record = SavedLine(line->bytes).record(nullptr);
    if (const auto* run = record ? std::get_if<RunRecord>(&*record) : nullptr) runs.push_back(*run);
  }
  return runs;
}

}  // namespace qv::check
