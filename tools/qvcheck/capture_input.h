#pragma once

#include <cstdint>
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
  // The streams of --request and --response, as one connection, and then every input. Nothing is
  // opened yet.
  static std::vector<std::unique_ptr<CaptureInput>> all(const CaptureOptions& options);

  // To be called whenever a read may have to wait, as one of a pipe.
  void beforeWaiting(std::function<void()> call) { beforeWaiting_ = std::move(call); }
  // To be called with the number of bytes that were read.
  void onRead(std::function<void(std::size_t)> call) { onRead_ = std::move(call); }
  // False, with a complaint, when it cannot be read at all.
  bool open(const CaptureOptions& options, std::ostream& err);

  capture::CaptureReader& reader() const { return *reader_; }
  // The file that holds what went in that direction.
  InputRecord& record(capture::Direction direction);
  // Why reading stopped before the end.
  std::optional<std::string> error() const;
  // At the end: what is to be said of each file; complains of what could not be read. Nothing is
  // to be read any more.
  const std::vector<std::unique_ptr<InputRecord>>& close(std::ostream& err);
  // Numbers its files from `first` on and answers how many there are.
  std::size_t number(std::size_t first);
  // "packet", "entry", "line"; empty where the form has no numbered parts.
  std::string_view partName() const;
  // Of its first file.
  const std::string& name() const;

 private:
  std::shared_ptr<capture::ByteSource> sourceOf(InputRecord& record, std::ostream& err);
  std::shared_ptr<capture::ByteSource> sourceOf(InputRecord& record,
                                                std::vector<std::string> pieces);
  bool openDirectory(const CaptureOptions& options, std::ostream& err);
  bool openStreams(const CaptureOptions& options, std::ostream& err);

  bool isPair_ = false;
  std::function<void()> beforeWaiting_ = [] {};
  std::function<void(std::size_t)> onRead_ = [](std::size_t) {};
  std::vector<std::unique_ptr<InputRecord>> records_;
  std::unique_ptr<capture::CaptureReader> reader_;
  std::vector<std::shared_ptr<capture::ByteSource>> sources_;
};

}  // namespace qv::check
