#include "tools/qvcheck/input_workers.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <deque>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/record_stream.h"
#include "tools/qvcheck/renumbering_sink.h"
#include "tools/qvcheck/signal_watch.h"

namespace qv::check {

namespace {

// Inputs that are begun before the first of them is reported; each keeps a file open.
constexpr std::size_t kMostBegun = 128;
// How long the workers have to end themselves before they are killed.
constexpr std::chrono::seconds kGrace{2};

[[noreturn]] void failWith(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { close(); }
  int number() const { return number_; }
  void close() {
    if (number_ >= 0) ::close(number_);
    number_ = -1;
  }

 private:
  int number_;
};

// A file without a name, in the directory of TMPDIR or where that is of no use the usual one. One
// that is not open when there are too many of them.
Descriptor temporaryFile() {
  std::error_code unusable;
  std::filesystem::path directory = std::filesystem::temp_directory_path(unusable);
  if (unusable) directory = P_tmpdir;
  const std::string filledIn(6, 'X');  // by mkostemp
  std::string path = (directory / ("qvcheck-" + filledIn)).string();
  Descriptor file(::mkostemp(path.data(), O_CLOEXEC));
  if (file.number() >= 0) ::unlink(path.c_str());
  if (file.number() < 0 && errno != EMFILE && errno != ENFILE) {
    failWith(("cannot make a temporary file in " + directory.string()).c_str());
  }
  return file;
}

// What a worker does; answers its exit code.
int work(const WorkerTask& task, std::size_t index, int records) {
  RecordWriter writer(records);
  Report report({&writer}, task.failOn);
  report.setLimits({task.rules, SIZE_MAX});
  std::ostringstream complaints;
  WorkerEnd end;
  try {
    end.goesOn = task.check(index, report, complaints);
  } catch (const std::exception& fault) {
    const std::string text = fmt::format("fault of the tool itself: {}", fault.what());
    complaints << "qvcheck: " << escaped(task.nameOf(index)) << ": " << text << '\n';
    task.lost(index, text, report);
    report.noteOutcome(ExitCode::toolFault);
    report.noteIncomplete();
  }
  end.account = report.account();
  end.complaints = complaints.str();
  return writer.end(end) ? 0 : static_cast<int>(ExitCode::toolFault);
}

struct Worker {
  std::size_t index = 0;
  pid_t process = 0;  // 0 once it has ended
  Descriptor records;
  Descriptor lifeline;  // reads as ended once the worker has
  int status = 0;
};

class Workers {
 public:
  Workers(const WorkerTask& task, std::size_t jobs, Report& report, std::ostream& err)
      : task_(task), jobs_(std::min(jobs, kMostBegun)), report_(report), err_(err) {}
  ~Workers() { endAll(); }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  void run() {
    bool goesOn = true;
    while (goesOn && (begun_ < task_.count || !workers_.empty())) {
      if (SignalWatch::signal() == 0) {
        beginWorkers();
        awaitOne();
      }
      if (SignalWatch::signal() != 0) endAll();
      while (goesOn && !workers_.empty() && workers_.front().process == 0) {
        goesOn = replay(workers_.front());
        task_.reported(workers_.front().index);
        workers_.pop_front();
      }
      if (goesOn && workers_.empty() && SignalWatch::signal() != 0) {
        report_.noteIncomplete();
        return;
      }
    }
  }

 private:
  void beginWorkers();
  bool begin();
  void awaitOne();
  void reap(Worker& worker);
  bool replay(const Worker& worker);
  void endAll();

  const WorkerTask& task_;
  std::size_t jobs_;
  Report& report_;
  std::ostream& err_;
  std::size_t begun_ = 0;
  std::size_t running_ = 0;
  std::deque<Worker> workers_;  // those that were not reported yet, in the order of their inputs
};

void Workers::beginWorkers() {
  while (running_ < jobs_ && workers_.size() < kMostBegun && begun_ < task_.count) {
    if (begin()) continue;
    // With fewer workers than were asked for it goes on.
    if (running_ == 0) failWith("cannot begin a worker process");
    return;
  }
}

bool Workers::begin() {
  Worker worker;
  worker.index = begun_;
  worker.records = temporaryFile();
  if (worker.records.number() < 0) return false;
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  worker.lifeline = Descriptor(ends[0]);
  const Descriptor held(ends[1]);
  const pid_t process = ::fork();
  if (process < 0) return false;
  if (process == 0) {
    workers_.clear();  // their files, which are open here too
    // Nothing of the parent is to be undone or written by the worker, so it ends at once.
    ::_exit(work(task_, begun_, worker.records.number()));
  }
  worker.process = process;
  workers_.push_back(std::move(worker));
  ++begun_;
  ++running_;
  return true;
}

// Waits until a worker has ended, a signal came or a short time has passed, because the signal may
// have come just before.
void Workers::awaitOne() {
  constexpr int kMilliseconds = 100;
  std::vector<pollfd> lifelines;
  std::vector<Worker*> living;
  for (Worker& worker : workers_) {
    if (worker.process == 0) continue;
    lifelines.push_back({worker.lifeline.number(), POLLIN, 0});
    living.push_back(&worker);
  }
  if (::poll(lifelines.data(), lifelines.size(), kMilliseconds) <= 0) return;
  for (std::size_t i = 0; i < living.size(); ++i) {
    if (lifelines[i].revents != 0) reap(*living[i]);
  }
}

void Workers::reap(Worker& worker) {
  while (::waitpid(worker.process, &worker.status, 0) < 0 && errno == EINTR) {
  }
  worker.process = 0;
  worker.lifeline.close();
  --running_;
}

// False when nothing behind it is to be reported.
bool Workers::replay(const Worker& worker) {
  RenumberingSink sink(report_, 0);
  RecordReplay records(worker.records.number());
  while (records.next(sink)) {
  }
  const auto& end = records.end();
  const bool interrupted = SignalWatch::signal() != 0;
  if (end) {
    err_ << end->complaints;
    report_.add(end->account);
  }
  if (end && (end->goesOn || end->account.stoppedEarly || interrupted)) return end->goesOn;
  report_.noteIncomplete();
  if (interrupted) return false;
  report_.noteOutcome(ExitCode::toolFault);
  const std::string text =
      fmt::format("its worker ended before the input did ({})",
                  WIFSIGNALED(worker.status) ? fmt::format("signal {}", WTERMSIG(worker.status))
                                             : fmt::format("exit {}", WEXITSTATUS(worker.status)));
  err_ << fmt::format("qvcheck: {}: {}\n", escaped(task_.nameOf(worker.index)), text);
  task_.lost(worker.index, text, report_);
  return true;
}

void Workers::endAll() {
  const auto deadline = std::chrono::steady_clock::now() + kGrace;
  while (running_ > 0) {
    const bool waits = std::chrono::steady_clock::now() < deadline;
    for (const Worker& worker : workers_) {
      if (worker.process != 0) ::kill(worker.process, waits ? SIGTERM : SIGKILL);
    }
    awaitOne();
  }
}

}  // namespace

void runInWorkers(const WorkerTask& task, std::size_t jobs, Report& report, std::ostream& err) {
  Workers(task, jobs, report, err).run();
}

}  // namespace qv::check
