#include "tools/qvcheck/show_command.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <utility>

#include "capture/byte_source.h"
#include "capture/stream_pair_reader.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/message_view.h"
#include "tools/qvcheck/profile_loading.h"
#include "tools/qvcheck/report_texts.h"

namespace qv::check {

namespace {

using capture::ByteStreamItems;
using capture::Direction;

// What the run came to; the first in the order of exit codes wins.
struct ShowOutcome {
  std::size_t messages = 0;
  bool damaged = false;
};

std::shared_ptr<ByteStreamItems> openStream(const std::string& file, Direction direction,
                                            std::size_t maxMessageSize, std::ostream& err) {
  std::optional<std::string> error;
  auto source = capture::FileSource::open(file, &error);
  if (source == nullptr) {
    err << "qvcheck: " << escaped(file) << ": " << textOrNull(error) << '\n';
    return nullptr;
  }
  return std::make_shared<ByteStreamItems>(std::move(source), direction,
                                           capture::FramingLimits{maxMessageSize});
}

class Shower {
 public:
  Shower(const ShowOptions& options, std::ostream& out, bool colored)
      : options_(options), out_(out), page_(out, colored) {}

  void show(const capture::ExchangeRecord& record) {
    const bool toAccessory = record.direction == Direction::toAccessory;
    const std::string& file = toAccessory ? options_.requestFile : options_.responseFile;
    if (const capture::Damage* damage = record.damage()) {
      showDamage(*damage, file);
      return;
    }
    const capture::FramedMessage& message = *record.message();
    const ReadMessage read = reader_.read(record, message, outcome.messages + 1, file);
    ++outcome.messages;
    if (!message.complete()) outcome.damaged = true;
    names_.learn(read.typed.get());
    if (!isWanted()) return;
    separate();
    showMessage(page_, read, message, names_);
  }

  ShowOutcome outcome;

 private:
  bool isWanted() const { return !options_.message || *options_.message == outcome.messages; }

  void separate() {
    if (wroteAny_) out_ << '\n';
    wroteAny_ = true;
  }

  void showDamage(const capture::Damage& damage, const std::string& file) {
    if (damage.kind == capture::DamageKind::emptyLines) return;
    outcome.damaged = true;
    if (options_.message) return;
    separate();
    page_.begin();
    page_.line(0, page_.ink(Shade::bold, fmt::format("{}:{}: {}", escaped(file), damage.offset,
                                                     escaped(damage.text))));
  }

  const ShowOptions& options_;
  std::ostream& out_;
  ViewPage page_;
  MessageReader reader_{1};
  AttributeNames names_;
  bool wroteAny_ = false;
};

ExitCode showConnection(const ShowOptions& options, std::ostream& out, std::ostream& err,
                        bool colored) {
  const auto requests =
      openStream(options.requestFile, Direction::toAccessory, options.maxMessageSize, err);
  const auto responses =
      openStream(options.responseFile, Direction::toController, options.maxMessageSize, err);
  if (requests == nullptr || responses == nullptr) return ExitCode::inputDamaged;
  Shower shower(options, out, colored);
  capture::StreamPairReader pairing(requests, responses);
  while (!options.message || shower.outcome.messages < *options.message) {
    const auto record = pairing.nextRecord();
    if (!record) break;
    shower.show(*record);
  }
  for (const auto& [stream, file] :
       {std::pair(requests, options.requestFile), std::pair(responses, options.responseFile)}) {
    if (const auto error = stream->source().error()) {
      err << "qvcheck: " << escaped(file) << ": " << *error << '\n';
      shower.outcome.damaged = true;
    }
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
  const ExitCode exit = showConnection(options, out, err, wantsColor(options.color, outIsTerminal));
  if (out.flush()) return static_cast<int>(exit);
  err << "qvcheck: not everything could be written\n";
  return static_cast<int>(ExitCode::toolFault);
}

}  // namespace qv::check
