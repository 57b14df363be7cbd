#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "capture/capture_reader.h"
#include "tools/qvcheck/capture_options.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// One capture of a run, opened: its reader, and the record of each file that it reads.
class CaptureInput {
 public:
  // The streams of --request and --response, as one connection, and then every input; of a
  // directory each capture that it holds. Nothing is opened yet but the files of directories, which
  // are told apart by how they begin.
  static std::vector<std::unique_ptr<CaptureInput>> all(const CaptureOptions& options);

  // To be called whenever a read may have to wait, as one of a pipe.
  void beforeWaiting(std::function<void()> call) { beforeWaiting_ = std::move(call); }
  // To be called with the number of bytes that were read.
  void onRead(std::function<void(std::size_t)> call) { onRead_ = std::move(call); }
  // False, with a complaint, when it cannot be read at all; it can be closed all the same.
  bool open(const CaptureOptions& options, std::ostream& err);

  // Once it is open. Null at its end.
  std::optional<capture::CaptureEvent> next();
  const capture::CaptureReader& reader() const { return *reader_; }
  // The file that holds what went in that direction.
  InputRecord& record(capture::Direction direction);
  // Why reading stopped before the end.
  std::optional<std::string> error() const;
  // At the end: what is to be said of each file; complains of what could not be read. Nothing is
  // to be read any more.
  const std::vector<std::unique_ptr<InputRecord>>& close(std::ostream& err);
  // The records of its files as long as nothing was read of them here.
  std::vector<InputRecord> unread() const;
  // Numbers its files from `first` on and answers how many there are.
  std::size_t number(std::size_t first);
  // "packet", "entry", "line"; empty where the form has no numbered parts.
  std::string_view partName() const;
  // Of its first file.
  const std::string& name() const;

 private:
  static void addDirectory(const std::string& name, capture::CaptureForm form,
                           std::vector<std::unique_ptr<CaptureInput>>& inputs);
  void addStream(const std::string& name, capture::Direction direction);
  void fail(InputRecord& record, std::string text, std::ostream& err);
  std::vector<std::string>& piecesOf(const InputRecord& record);
  std::shared_ptr<capture::ByteSource> sourceOf(InputRecord& record, std::ostream& err);
  bool openStreams(const CaptureOptions& options, std::ostream& err);
  bool openPackets(const CaptureOptions& options);

  bool isPair_ = false;
  std::function<void()> beforeWaiting_ = [] {};
  std::function<void(std::size_t)> onRead_ = [](std::size_t) {};
  std::vector<std::unique_ptr<InputRecord>> records_;
  std::vector<std::string> pieces_[2];    // of each record, where they come from a directory
  bool isExplained_ = false;              // something to check was told, or why there is nothing
  std::deque<capture::InputNote> notes_;  // to be told before anything else
  std::unique_ptr<capture::CaptureReader> reader_;
  std::vector<std::shared_ptr<capture::ByteSource>> sources_;
};

}  // namespace qv::check
