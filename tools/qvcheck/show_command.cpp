#include "tools/qvcheck/show_command.h"

#include <fmt/format.h>

#include <map>
#include <string>

#include "tools/qvcheck/capture_input.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/input_findings.h"
#include "tools/qvcheck/message_view.h"
#include "tools/qvcheck/profile_loading.h"
#include "tools/qvcheck/report_texts.h"

namespace qv::check {

namespace {

using capture::Direction;

// What the run came to; the first in the order of exit codes wins.
struct ShowOutcome {
  std::size_t messages = 0;
  bool damaged = false;
};

class Shower {
 public:
  Shower(const ShowOptions& options, std::ostream& out, bool colored)
      : options_(options), out_(out), page_(out, colored) {}

  bool wantsMore() const { return !options_.message || outcome.messages < *options_.message; }

  void begin(CaptureInput& input) {
    input_ = &input;
    connections_.clear();
  }

  void show(const capture::CaptureEvent& event) {
    noteLosses(event, *input_);
    if (const auto* opened = std::get_if<capture::ConnectionOpened>(&event)) {
      connections_.emplace(opened->connection, Connection{MessageReader(++connectionCount_), {}});
    } else if (const auto* closed = std::get_if<capture::ConnectionClosed>(&event)) {
      connections_.erase(closed->connection);
    } else if (const auto* record = std::get_if<capture::ExchangeRecord>(&event)) {
      show(*record);
    } else {
      const auto& note = std::get<capture::InputNote>(event);
      showRemark(note.text, input_->record(note.direction.value_or(Direction::toAccessory)),
                 note.offset);
    }
  }

  ShowOutcome outcome;

 private:
  struct Connection {
    MessageReader reader;
    AttributeNames names;
  };

  bool isWanted() const { return !options_.message || *options_.message == outcome.messages; }

  void show(const capture::ExchangeRecord& record) {
    const InputRecord& input = input_->record(record.direction);
    if (const capture::Gap* gap = record.gap()) {
      showRemark(fmt::format("{} missing from the capture", counted(gap->length, "byte")), input,
                 gap->offset);
      return;
    }
    if (const capture::Damage* damage = record.damage()) {
      if (damage->kind == capture::DamageKind::emptyLines) return;
      showRemark(damage->text, input, damage->offset);
      return;
    }
    Connection& connection = connections_.at(record.connection);
    const capture::FramedMessage& message = *record.message();
    ReadMessage read = connection.reader.read(record, message, outcome.messages + 1, input.name);
    read.record.part = record.place.number;
    read.record.partName = input_->partName();
    ++outcome.messages;
    if (!message.complete()) outcome.damaged = true;
    connection.names.learn(read.typed.get());
    if (!isWanted()) return;
    separate();
    showMessage(page_, read, message, connection.names);
  }

  void separate() {
    if (wroteAny_) out_ << '\n';
    wroteAny_ = true;
  }

  void showRemark(const std::string& text, const InputRecord& input, std::uint64_t offset) {
    if (options_.message) return;
    separate();
    page_.begin();
    page_.line(0, page_.ink(Shade::bold,
                            fmt::format("{}:{}: {}", escaped(input.name), offset, escaped(text))));
  }

  const ShowOptions& options_;
  std::ostream& out_;
  ViewPage page_;
  CaptureInput* input_ = nullptr;
  std::map<std::uint64_t, Connection> connections_;
  std::size_t connectionCount_ = 0;
  bool wroteAny_ = false;
};

void showInput(CaptureInput& input, const ShowOptions& options, Shower& shower, std::ostream& err) {
  if (!input.open(options, err)) {
    shower.outcome.damaged = true;
    return;
  }
  shower.begin(input);
  bool ended = false;
  while (shower.wantsMore() && !ended) {
    const auto event = input.next();
    ended = !event;
    if (event) shower.show(*event);
  }
  for (const auto& record : input.close(err)) {
    if (!record->complete || record->fidelity == "damaged") shower.outcome.damaged = true;
  }
}

ExitCode showInputs(const ShowOptions& options, std::ostream& out, std::ostream& err,
                    bool colored) {
  Shower shower(options, out, colored);
  std::size_t number = 1;
  for (const auto& input : CaptureInput::all(options)) {
    if (!shower.wantsMore()) break;
    number += input->number(number);
    showInput(*input, options, shower, err);
  }
  const ShowOutcome& outcome = shower.outcome;
  if (options.message && *options.message > outcome.messages) {
    err << fmt::format("qvcheck: --message: there is no message {}; the capture holds {}\n",
                       *options.message, counted(outcome.messages, "message"));
    return ExitCode::usage;
  }
  if (outcome.damaged) return ExitCode::inputDamaged;
  return outcome.messages == 0 ? ExitCode::nothingJudged : ExitCode::clean;
}

}  // namespace

int runShow(const ShowOptions& options, std::ostream& out, std::ostream& err, bool outIsTerminal) {
  if (const auto refused = loadProfilesQuietly(options.profiles, err)) return *refused;
  const ExitCode exit = showInputs(options, out, err, wantsColor(options.color, outIsTerminal));
  if (out.flush()) return static_cast<int>(exit);
  err << "qvcheck: not everything could be written\n";
  return static_cast<int>(ExitCode::toolFault);
}

}  // namespace qv::check
