#include "capture/piece_files.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "capture/gzip_source.h"

namespace qv::capture {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kCompressed = ".gz";

// A number of any length as it is compared: its digits without leading zeros.
std::string_view withoutZeros(std::string_view digits) {
  return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

int compareNumbers(std::string_view left, std::string_view right) {
  left = withoutZeros(left);
  right = withoutZeros(right);
  if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
  return left.compare(right);
}

// By bytes, but runs of digits by their number.
bool naturallyLess(std::string_view left, std::string_view right) {
  const std::string_view wholeLeft = left;
  const std::string_view wholeRight = right;
  while (!left.empty() && !right.empty()) {
    const std::size_t leftDigits = std::min(left.find_first_not_of(kDigits), left.size());
    const std::size_t rightDigits = std::min(right.find_first_not_of(kDigits), right.size());
    if (leftDigits > 0 && rightDigits > 0) {
      const int order = compareNumbers(left.substr(0, leftDigits), right.substr(0, rightDigits));
      if (order != 0) return order < 0;
      left.remove_prefix(leftDigits);
      right.remove_prefix(rightDigits);
      continue;
    }
    if (left.front() != right.front()) {
      return static_cast<unsigned char>(left.front()) < static_cast<unsigned char>(right.front());
    }
    left.remove_prefix(1);
    right.remove_prefix(1);
  }
  if (left.empty() != right.empty()) return left.empty();
  return wholeLeft < wholeRight;
}

struct Name {
  explicit Name(std::string name) : whole(std::move(name)) {
    std::string_view text = whole;
    if (text.ends_with(kCompressed)) text.remove_suffix(kCompressed.size());
    const std::size_t dot = std::min(text.rfind('.'), text.size());
    stem = text.substr(0, dot);
    extension = text.substr(dot);
  }
  // What stands before the extension decides first, so that "run" is before "run-1".
  bool operator<(const Name& other) const {
    if (stem != other.stem) return naturallyLess(stem, other.stem);
    if (extension != other.extension) return naturallyLess(extension, other.extension);
    return whole < other.whole;
  }

  std::string whole;
  std::string stem;
  std::string extension;
};

}  // namespace

std::optional<PieceFiles> piecesIn(const std::string& directory, ErrorSlot errorDescription) {
  std::error_code error;
  std::vector<Name> names;
  for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code unused;
    std::string name = entry->path().filename().string();
    if (name.starts_with('.') || !entry->is_regular_file(unused)) continue;
    names.emplace_back(std::move(name));
  }
  if (error) return fail(errorDescription, error.message());
  if (names.empty()) return fail(errorDescription, "the directory holds no files");
  std::sort(names.begin(), names.end());

  PieceFiles pieces;
  for (const Name& name : names) {
    std::vector<std::string>& list = name.extension == ".req"   ? pieces.requests
                                     : name.extension == ".rsp" ? pieces.responses
                                                                : pieces.others;
    list.push_back((std::filesystem::path(directory) / name.whole).string());
  }
  return pieces;
}

std::size_t FilesSource::read(std::span<std::uint8_t> destination) {
  while (!error_ && !destination.empty() && (file_ != nullptr || openNext())) {
    const std::size_t count = file_->read(destination);
    bytesRead_ += count;
    if (count > 0) return count;
    if (file_->error()) error_ = fmt::format("{}: {}", paths_[begins_.size() - 1], *file_->error());
    file_.reset();
  }
  return 0;
}

// False when there is none, or when it cannot be opened.
bool FilesSource::openNext() {
  if (begins_.size() == paths_.size()) return false;
  const std::string& path = paths_[begins_.size()];
  std::optional<std::string> error;
  std::shared_ptr<FileSource> file = FileSource::open(path, &error);
  if (file == nullptr) {
    error_ = fmt::format("{}: {}", path, textOrNull(error));
    return false;
  }
  begins_.push_back(bytesRead_);
  file_ = inflatedWhereCompressed(std::move(file));
  return true;
}

FilesSource::Place FilesSource::placeOf(std::uint64_t offset) const {
  const auto after = std::upper_bound(begins_.begin(), begins_.end(), offset);
  if (after == begins_.begin()) return {paths_.empty() ? std::string() : paths_.front(), offset};
  const auto index = static_cast<std::size_t>(after - begins_.begin()) - 1;
  return {paths_[index], offset - begins_[index]};
}

}  // namespace qv::capture
