#include "tools/qvcheck/saved_run_command.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "capture/io/gzip_source.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/named_file.h"
#include "tools/qvcheck/output_files.h"
#include "tools/qvcheck/renumbering_sink.h"
#include "tools/qvcheck/saved_run_reader.h"
#include "tools/qvcheck/signal_watch.h"

namespace qv::check {

namespace {

void complain(std::ostream& err, const std::string& file, const std::string& text) {
  err << "qvcheck: " << escaped(file) << ": " << escaped(text) << '\n';
}

// How a run began.
class RunCatcher : public ReportSink {
 public:
  void run(const RunRecord& record) override { caught = record; }

  std::optional<RunRecord> caught;
};

// The files of saved runs, in their order. How each run began is wanted before any is read through,
// so files are read twice; of those that can be opened once, which stay open, it is the first run.
class RunFiles {
 public:
  struct Opened {
    std::unique_ptr<SavedRunReader> reader;  // null when it cannot be opened
    std::optional<RunRecord> run;            // that the reader handed on already
    std::string error;
  };

  // To be called whenever a read may have to wait.
  std::function<void()> beforeWaiting = [] {};

  std::vector<RunRecord> beginningsOf(const std::string& name) {
    std::optional<std::string> error;
    NamedFile file = openFile(name, &error);
    if (file.bytes == nullptr) return {};
    if (!file.opensOnce) return runRecordsOf(std::move(file.bytes));
    Opened opened = {std::make_unique<SavedRunReader>(std::move(file.bytes)), std::nullopt, ""};
    RunCatcher first;
    if (opened.reader->next(first)) opened.run = first.caught;
    kept_.emplace(name, std::move(opened));
    return first.caught ? std::vector{*first.caught} : std::vector<RunRecord>();
  }
  Opened open(const std::string& name) {
    if (auto kept = kept_.extract(name)) return std::move(kept.mapped());
    std::optional<std::string> error;
    NamedFile file = openFile(name, &error);
    if (file.bytes == nullptr) return {nullptr, std::nullopt, textOrNull(error)};
    return {std::make_unique<SavedRunReader>(std::move(file.bytes)), std::nullopt, ""};
  }

 private:
  NamedFile openFile(const std::string& name, ErrorSlot errorDescription) {
    NamedFile file = openNamedFile(
        name, [this] { beforeWaiting(); }, errorDescription);
    if (file.bytes != nullptr) file.bytes = capture::inflatedWhereCompressed(std::move(file.bytes));
    return file;
  }

  std::map<std::string, Opened> kept_;
};

// What all runs were asked for: every option with each of its values once.
class MergedRun {
 public:
  void add(const RunRecord& run) {
    if (!merged_) {
      merged_ = run;
      merged_->options.clear();
    }
    judging_ = judging_ || run.command == "traffic";
    for (const auto& option : run.options) {
      if (!seen_.insert(option).second) continue;
      const auto name = std::ranges::find(values_, option.first, &Values::first);
      if (name != values_.end()) {
        name->second.push_back(option.second);
      } else {
        values_.emplace_back(option.first, std::vector{option.second});
      }
    }
  }

  bool judging() const { return judging_; }
  // Null when no run could be read.
  std::optional<RunRecord> record() const {
    std::optional<RunRecord> record = merged_;
    for (const auto& [name, values] : values_) {
      for (const std::string& value : values) record->options.emplace_back(name, value);
    }
    return record;
  }

 private:
  using Values = std::pair<std::string, std::vector<std::string>>;

  std::optional<RunRecord> merged_;
  bool judging_ = false;
  std::vector<Values> values_;
  std::set<std::pair<std::string, std::string>> seen_;
};

// Files that the run was given, each of which took a number.
std::size_t inputsOf(const RunRecord& run) {
  const auto isInput = [](const auto& option) {
    return option.first == "input" || option.first == "request" || option.first == "response";
  };
  return static_cast<std::size_t>(std::ranges::count_if(run.options, isInput));
}

std::optional<Severity> failOnOf(const RunRecord& run) {
  for (const auto& [name, value] : run.options) {
    if (name == "fail-on") return severityNamed(value);
  }
  return Severity::error;
}

// One saved run on its way into the whole report.
class SavedRun : public ReportSink {
 public:
  SavedRun(Report& whole, std::size_t inputsBefore, std::set<std::string>& profiles)
      : whole_(whole), renumbering_(whole, inputsBefore), profiles_(profiles) {}

  void run(const RunRecord& record) override {
    inputs_ = inputsOf(record);
    // Keeps the account that a run without a summary lacks.
    counted_ = std::make_unique<Report>(std::vector<ReportSink*>{&renumbering_}, failOnOf(record));
    counted_->setLimits({{}, SIZE_MAX});
  }
  void profile(const ProfileRecord& record) override {
    counted_->profile(record);
    if (profiles_.insert(identityOf(record)).second) whole_.profile(record);
  }
  void input(const InputRecord& record) override {
    inputs_ = std::max(inputs_, record.input);
    counted_->input(record);
  }
  void connection(const ConnectionRecord& record) override { counted_->connection(record); }
  void message(const MessageRecord& record) override { counted_->message(record); }
  void finding(const Finding& record) override { counted_->finding(record); }
  void gap(const GapRecord& record) override { counted_->gap(record); }
  void summary(const Summary& record) override { summary_ = record; }

  std::size_t inputs() const { return inputs_; }
  // Its summary, or what was counted of a run that is not whole; null without any record.
  std::optional<Summary> account() const {
    if (summary_ || counted_ == nullptr) return summary_;
    return counted_->account();
  }

 private:
  static std::string identityOf(const ProfileRecord& profile) {
    std::string identity = profile.file + '\n' + profile.text.value_or("") + '\n';
    for (const std::size_t number : {std::size_t{profile.accepted}, profile.enums, profile.tlv8s,
                                     profile.characteristics, profile.services}) {
      identity += std::to_string(number) + '\n';
    }
    return identity;
  }

  Report& whole_;
  RenumberingSink renumbering_;
  std::set<std::string>& profiles_;
  std::unique_ptr<Report> counted_;
  std::size_t inputs_ = 0;
  std::optional<Summary> summary_;
};

// Writes the runs to the report and answers the account of all of them.
class Merger {
 public:
  Merger(Report& whole, std::ostream& err, bool judging)
      : whole_(whole), err_(err), total_(judging) {}

  void add(const std::string& file, RunFiles::Opened opened) {
    const auto& reader = opened.reader;
    if (reader != nullptr) {
      do {
        addRun(*reader, std::exchange(opened.run, std::nullopt));
      } while (reader->goOn());
      opened.error = reader->error().value_or("");
    }
    const bool isWhole = opened.error.empty() && reader != nullptr && reader->isWhole();
    if (!isWhole) total_.noteLoss(SignalWatch::signal() == 0);
    if (!opened.error.empty() && SignalWatch::signal() == 0) complain(err_, file, opened.error);
  }

  int finish() {
    const Summary summary = total_.closed(SignalWatch::signal());
    whole_.summary(summary);
    return summary.exit;
  }

 private:
  void addRun(SavedRunReader& reader, const std::optional<RunRecord>& begun) {
    SavedRun saved(whole_, inputs_, profiles_);
    if (begun) saved.run(*begun);
    while (SignalWatch::signal() == 0 && reader.next(saved)) {
    }
    inputs_ += saved.inputs();
    if (const auto account = saved.account()) total_.add(*account);
  }

  Report& whole_;
  std::ostream& err_;
  std::size_t inputs_ = 0;
  std::set<std::string> profiles_;
  SummaryTotal total_;
};

}  // namespace

int runReport(const SavedRunOptions& options, std::ostream& out, std::ostream& err,
              bool outIsTerminal) {
  // The options of all runs stand in the first record.
  RunFiles files;
  MergedRun merged;
  for (const std::string& file : options.files) {
    for (const RunRecord& begun : files.beginningsOf(file)) merged.add(begun);
  }
  const auto run = merged.record();
  const auto merge = [&](Report& whole, OutputFiles& outputs) {
    const SignalWatch watch;
    files.beforeWaiting = [&outputs] { outputs.flush(); };
    whole.setLimits({{}, SIZE_MAX});
    if (run) whole.run(*run);
    Merger merger(whole, err, merged.judging());
    for (const std::string& file : options.files) {
      if (SignalWatch::signal() == 0) merger.add(file, files.open(file));
    }
    return merger.finish();
  };
  return writeReport(options.report, out, err, outIsTerminal, merged.judging(), merge);
}

}  // namespace qv::check
