#include "capture/capture_folder.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "capture/http/stream_pair_reader.h"
#include "capture/io/gzip_source.h"
#include "capture/io/piece_files.h"
#include "capture/piece_names.h"

namespace qv::capture {
namespace {

// Names equal but for their numbers, in their order.
using Family = std::vector<PieceName>;
// What the names have in common; whether they are those of streams.
using FamilyKey = std::pair<std::string, bool>;

// A file that may begin a capture or continue one.
class Piece {
 public:
  Piece(const std::string& path, CaptureForm asked) {
    const std::shared_ptr<FileSource> file = FileSource::open(path);
    isReadable = file != nullptr;
    if (!isReadable) return;
    source_ = inflatedWhereCompressed(file);
    isEmpty = source_->peek(1).empty();
    if (!isEmpty) form = clearForm(*source_, asked);
  }

  bool continues(CaptureForm before) const {
    if (isEmpty) return true;
    if (before == CaptureForm::http || before == CaptureForm::ndjson) {
      return !otherForm(*source_, before, "");
    }
    return !form || (form == before && form == CaptureForm::pcap);
  }

  bool isReadable = false;
  bool isEmpty = false;
  std::optional<CaptureForm> form;

 private:
  std::shared_ptr<PeekedSource> source_;
};

class Folder {
 public:
  Folder(std::filesystem::path path, CaptureForm asked) : path_(std::move(path)), asked_(asked) {}

  bool list(ErrorSlot errorDescription);
  void divide();
  FolderContents contents;

 private:
  void addStreams(const Family& family);
  void addFiles(const Family& family);
  void add(FolderCapture capture, const PieceName& first);
  std::string pathOf(const PieceName& name) const { return (path_ / name.whole).string(); }

  std::filesystem::path path_;
  CaptureForm asked_;
  std::map<FamilyKey, Family> families_;
  std::vector<std::pair<PieceName, FolderCapture>> captures_;
};

bool Folder::list(ErrorSlot errorDescription) {
  std::error_code error;
  std::vector<PieceName> names;
  for (std::filesystem::directory_iterator entry(path_, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code unused;
    std::string name = entry->path().filename().string();
    if (name.starts_with('.')) continue;
    if (entry->is_regular_file(unused)) {
      names.emplace_back(std::move(name));
    } else {
      contents.notFiles.push_back(std::move(name));
    }
  }
  if (error) return fail(errorDescription, error.message());
  if (names.empty()) return fail(errorDescription, "the directory holds no files");
  std::ranges::sort(contents.notFiles);
  std::sort(names.begin(), names.end());
  for (PieceName& name : names) {
    families_[{name.family(), name.isOfStream()}].push_back(std::move(name));
  }
  return true;
}

void Folder::divide() {
  const bool takesStreams = asked_ == CaptureForm::automatic || asked_ == CaptureForm::http;
  for (const auto& [key, family] : families_) {
    if (!key.second) {
      addFiles(family);
    } else if (takesStreams) {
      addStreams(family);
    } else {
      for (const PieceName& name : family) contents.unknown.push_back(name.whole);
    }
  }
  std::ranges::stable_sort(
      captures_, [](const auto& left, const auto& right) { return left.first < right.first; });
  for (auto& [first, capture] : captures_) contents.captures.push_back(std::move(capture));
}

void Folder::add(FolderCapture capture, const PieceName& first) {
  captures_.emplace_back(first, std::move(capture));
}

void Folder::addFiles(const Family& family) {
  std::vector<PieceName> pieces;
  std::optional<CaptureForm> form;  // null as long as there are only empty files
  const auto endCapture = [&] {
    if (pieces.empty()) return;
    FolderCapture capture;
    for (const PieceName& name : pieces) capture.files.push_back(pathOf(name));
    add(std::move(capture), pieces.front());
    pieces.clear();
    form.reset();
  };
  for (const PieceName& name : family) {
    const Piece piece(pathOf(name), asked_);
    if (!piece.isReadable) {
      add({.requests = {}, .responses = {}, .files = {pathOf(name)}}, name);
      continue;
    }
    const bool goesOn = form ? piece.continues(*form) : piece.isEmpty || piece.form;
    if (!goesOn && !piece.isEmpty && !piece.form) {
      contents.unknown.push_back(name.whole);
      continue;
    }
    if (!goesOn) endCapture();
    pieces.push_back(name);
    if (!form) form = piece.form;
  }
  endCapture();
}

std::shared_ptr<ByteStreamItems> streamOf(std::vector<std::string> paths, Direction direction) {
  return std::make_shared<ByteStreamItems>(std::make_shared<FilesSource>(std::move(paths)),
                                           direction, FramingLimits());
}

// Whether the pair begins with messages and has a request for each response.
bool isWhole(const FolderCapture& pair) {
  StreamPairReader reader(streamOf(pair.requests, Direction::toAccessory),
                          streamOf(pair.responses, Direction::toController));
  while (const auto record = reader.nextRecord()) {
    if (const Damage* damage = record->damage()) return damage->offset > 0;
    const FramedMessage* message = record->message();
    if (message == nullptr) return true;
    if (message->kind == MessageKind::response && !record->answers) return false;
  }
  return true;
}

void Folder::addStreams(const Family& family) {
  FolderCapture whole;
  std::map<std::string, FolderCapture> pairs;
  for (const PieceName& name : family) {
    for (FolderCapture* capture : {&whole, &pairs[name.stem]}) {
      (name.isRequests() ? capture->requests : capture->responses).push_back(pathOf(name));
    }
  }
  const bool arePairs = std::ranges::all_of(pairs, [](const auto& row) {
    return row.second.requests.size() == 1 && row.second.responses.size() == 1;
  });
  const auto standsAlone = [](const auto& row) { return isWhole(row.second); };
  if (!arePairs || pairs.size() == 1 || !std::ranges::all_of(pairs, standsAlone)) {
    return add(std::move(whole), family.front());
  }
  for (const PieceName& name : family) {
    if (name.isRequests()) add(std::move(pairs[name.stem]), name);
  }
}

}  // namespace

std::optional<FolderContents> capturesIn(const std::string& directory, CaptureForm form,
                                         ErrorSlot errorDescription) {
  Folder folder(directory, form);
  if (!folder.list(errorDescription)) return std::nullopt;
  folder.divide();
  if (folder.contents.captures.empty()) {
    return fail(errorDescription, "the directory holds no capture of a form that is read");
  }
  return std::move(folder.contents);
}

std::optional<FolderContents> streamIn(const std::string& directory, Direction direction,
                                       ErrorSlot errorDescription) {
  auto contents = capturesIn(directory, CaptureForm::http, errorDescription);
  if (!contents) return std::nullopt;
  const auto named =
      direction == Direction::toAccessory ? &FolderCapture::requests : &FolderCapture::responses;
  std::vector<std::vector<std::string>> streams;
  std::vector<std::vector<std::string>> others;
  for (FolderCapture& capture : contents->captures) {
    if (!(capture.*named).empty()) streams.push_back(std::move(capture.*named));
    if (!capture.files.empty()) others.push_back(std::move(capture.files));
  }
  if (streams.empty()) streams.swap(others);
  if (streams.size() != 1) {
    return fail(errorDescription,
                fmt::format("the directory holds {} streams of that direction",
                            streams.empty() ? "no" : fmt::format("{}", streams.size())));
  }
  for (const std::vector<std::string>& paths : others) {
    for (const std::string& path : paths) {
      contents->unknown.push_back(std::filesystem::path(path).filename().string());
    }
  }
  contents->captures = {{.requests = {}, .responses = {}, .files = std::move(streams.front())}};
  return contents;
}

}  // namespace qv::capture
